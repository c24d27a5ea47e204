#include "platform/linux/LocationPermission.h"

namespace platform {

void LocationPermission::setPositions(PositionGrant grant) {
  if (grant != PositionGrant::kPending) positions_ = grant;
}

Permission LocationPermission::current() const {
  return {.status = status(),
          .servicesEnabled = !withPositions_ || positions_ != PositionGrant::kSwitchedOff};
}

CLAuthorizationStatus LocationPermission::status() const {
  const bool isOpen = withPositions_ && positions_ == PositionGrant::kPending;
  if (!asked_ || !bluetoothRefused_ || isOpen) return kCLAuthorizationStatusNotDetermined;
  if (*bluetoothRefused_ || positions_ == PositionGrant::kDenied) {
    return kCLAuthorizationStatusDenied;
  }
  if (positions_ == PositionGrant::kRestricted) return kCLAuthorizationStatusRestricted;
  return kCLAuthorizationStatusAuthorizedAlways;
}

}  // namespace platform
