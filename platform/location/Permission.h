// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Location.h"

namespace platform {

/// What applications are told about the user's consent.
struct Permission {
  /// Whether this application may hear beacons and know positions.
  CLAuthorizationStatus status = kCLAuthorizationStatusNotDetermined;
  /// Whether the device's location services are switched on at all.
  bool servicesEnabled = true;

  friend bool operator==(const Permission&, const Permission&) = default;
};

/// The permission where nobody has to be asked, as in a replay.
inline Permission alwaysPermitted() { return {.status = kCLAuthorizationStatusAuthorizedAlways}; }

}  // namespace platform
