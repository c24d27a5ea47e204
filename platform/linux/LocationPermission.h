#pragma once

#include <optional>

#include "platform/Location.h"

namespace platform {

/// How GeoClue answers the question for positions.
enum class PositionGrant {
  /// Nobody asked, or the user has not answered yet.
  kPending,
  kGranted,
  /// By the user.
  kDenied,
  /// By the device's configuration, or because nobody is there to ask the user.
  kRestricted,
  /// There are no positions on this device, or the user has switched them off for all.
  kSwitchedOff,
};

/// What the library is told about the user's consent.
struct Permission {
  CLAuthorizationStatus status = kCLAuthorizationStatusNotDetermined;
  bool servicesEnabled = true;

  friend bool operator==(const Permission&, const Permission&) = default;
};

/// Puts the consent together from what BlueZ and GeoClue grant.
class LocationPermission {
 public:
  /// Whether positions can be asked for at all; otherwise they are left out.
  explicit LocationPermission(bool withPositions) : withPositions_(withPositions) {}

  /// The application has asked for permanent authorisation.
  void ask() { asked_ = true; }
  void setBluetoothRefused(bool refused) { bluetoothRefused_ = refused; }
  void setPositions(PositionGrant grant);

  bool isBluetoothKnown() const { return bluetoothRefused_.has_value(); }
  bool arePositionsGranted() const { return positions_ == PositionGrant::kGranted; }

  Permission current() const;

 private:
  CLAuthorizationStatus status() const;

  const bool withPositions_;
  bool asked_ = false;
  std::optional<bool> bluetoothRefused_;
  PositionGrant positions_ = PositionGrant::kPending;
};

}  // namespace platform
