// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace platform {

/// A 128-bit universally unique identifier: the proximity UUID of a beacon, or an installation's
/// identity. A value: copy and compare freely, on any thread.
class BRIVANE_EXPORT UUID {
 public:
  /// In the order in which they are written.
  using Bytes = std::array<std::uint8_t, 16>;

  /// The nil UUID, all zeros.
  UUID() = default;
  /// The UUID of these bytes.
  explicit UUID(const Bytes& bytes) : bytes_(bytes) {}

  /// Reads the 36-character form 8-4-4-4-12, hexadecimal digits of either case; absent for any
  /// other text.
  static std::optional<UUID> initWithUUIDString(std::string_view text);

  /// The canonical form: 36 characters, upper-case.
  std::string UUIDString() const;

  /// Its bytes; valid as long as this value lives.
  const Bytes& bytes() const { return bytes_; }

  friend bool operator==(const UUID&, const UUID&) = default;
  /// As their texts compare. Not all standard libraries can compare arrays so.
  friend std::strong_ordering operator<=>(const UUID& a, const UUID& b) {
    // NOLINTNEXTLINE(modernize-use-nullptr): a false alarm
    return std::memcmp(a.bytes_.data(), b.bytes_.data(), a.bytes_.size()) <=> 0;
  }

 private:
  Bytes bytes_{};
};

}  // namespace platform
