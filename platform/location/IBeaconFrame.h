// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/Export.h"
#include "platform/UUID.h"
#include "platform/location/Advertisement.h"

namespace platform {

/// What a beacon sends.
struct BRIVANE_EXPORT IBeaconFrame {
  /// Company identifier that its advertisement bears, and the bytes behind that.
  static constexpr std::uint16_t kCompany = 0x004C;
  /// Size of those bytes.
  static constexpr std::size_t kSize = 23;

  // Who the beacon is. Its address changes and says nothing.
  /// The network that the beacon belongs to.
  UUID proximityUUID;
  /// The beacon's group in its network.
  std::uint16_t major = 0;
  /// The beacon in its group.
  std::uint16_t minor = 0;
  /// Signal strength at one metre, dBm.
  int measuredPower = 0;

  /// The frame in an advertisement; absent in any other advertisement.
  static std::optional<IBeaconFrame> parse(const Advertisement& advertisement);
};

/// Whether `rssi` is a reading at all.
constexpr bool isReading(int rssi) { return rssi != 0 && rssi != 127; }

}  // namespace platform
