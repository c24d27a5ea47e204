// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Export.h"

// The C library has macros of these two names, in a header that a host may include before this one
// or after it. They go, so that the accessors have one name; a host that wants them calls
// gnu_dev_major and gnu_dev_minor.
#if __has_include(<sys/sysmacros.h>)
#  include <sys/sysmacros.h>
#endif
#undef major
#undef minor

/// Which heard beacon a resolve reply answers. A reply to a position has none.
class BRIVANE_EXPORT BVAPIResolveRequest {
 public:
  /// A request for one heard beacon; `isGPS` is false.
  static std::shared_ptr<const BVAPIResolveRequest> initWithUUID_withMajor_withMinor(
      std::optional<std::string> uuid, std::int64_t major, std::int64_t minor);

  /// The proximity UUID that was sent.
  const std::optional<std::string>& uuid() const { return uuid_; }
  void setUuid(std::optional<std::string> value) { uuid_ = std::move(value); }
  /// The beacon's major, as the client was asked with it.
  std::int64_t major() const { return major_; }
  void setMajor(std::int64_t value) { major_ = value; }
  /// The beacon's minor, as the client was asked with it.
  std::int64_t minor() const { return minor_; }
  void setMinor(std::int64_t value) { minor_ = value; }
  /// Declared for hosts; the library leaves it 0, as it does `lng`, and `isGPS` false.
  double lat() const { return lat_; }
  void setLat(double value) { lat_ = value; }
  /// As `lat`.
  double lng() const { return lng_; }
  void setLng(double value) { lng_ = value; }
  /// As `lat`; false.
  bool isGPS() const { return isGPS_; }
  void setIsGPS(bool value) { isGPS_ = value; }

 private:
  std::optional<std::string> uuid_;
  std::int64_t major_ = 0;
  std::int64_t minor_ = 0;
  double lat_ = 0.0;
  double lng_ = 0.0;
  bool isGPS_ = false;
};
