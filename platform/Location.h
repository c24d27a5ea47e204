// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Export.h"
#include "platform/UUID.h"

namespace platform {

/// The user's consent to location, as the location service reports it.
enum CLAuthorizationStatus : std::int32_t {
  kCLAuthorizationStatusNotDetermined = 0,
  kCLAuthorizationStatusRestricted = 1,
  kCLAuthorizationStatusDenied = 2,
  kCLAuthorizationStatusAuthorizedAlways = 3,
  kCLAuthorizationStatusAuthorizedWhenInUse = 4,
};

/// Where the device stands with respect to a region.
enum CLRegionState : std::int64_t {
  kCLRegionStateUnknown = 0,
  kCLRegionStateInside = 1,
  kCLRegionStateOutside = 2,
};

/// How near a beacon seems to be.
enum CLProximity : std::int32_t {
  kCLProximityUnknown = 0,
  kCLProximityImmediate = 1,
  kCLProximityNear = 2,
  kCLProximityFar = 3,
};

/// Desired accuracy of about ten metres.
inline constexpr double kCLLocationAccuracyNearestTenMeters = 10.0;
/// A distance filter that lets every position pass.
inline constexpr double kCLDistanceFilterNone = -1.0;

/// The beacons that share one proximity UUID and, where they are given, one major and one minor.
/// Its flags may be changed and read on any thread.
class BRIVANE_EXPORT CLBeaconRegion {
 public:
  /// `identifier` names the region to the location service: monitoring a region replaces one
  /// monitored under the same identifier.
  static std::shared_ptr<CLBeaconRegion> initWithProximityUUID_identifier(UUID proximityUUID,
                                                                          std::string identifier);

  /// What all its beacons send.
  const UUID& proximityUUID() const { return proximityUUID_; }
  /// The name that it was given; UTF-8.
  const std::string& identifier() const { return identifier_; }

  /// Whether entering the region is reported; true at first, as is leaving it.
  bool notifyOnEntry() const { return notifyOnEntry_; }
  void setNotifyOnEntry(bool value) { notifyOnEntry_ = value; }
  /// Whether leaving the region is reported; true at first.
  bool notifyOnExit() const { return notifyOnExit_; }
  void setNotifyOnExit(bool value) { notifyOnExit_ = value; }
  /// Whether the state is also reported when the user switches the display on; false at first.
  bool notifyEntryStateOnDisplay() const { return notifyEntryStateOnDisplay_; }
  void setNotifyEntryStateOnDisplay(bool value) { notifyEntryStateOnDisplay_ = value; }

 private:
  CLBeaconRegion(UUID proximityUUID, std::string identifier);

  const UUID proximityUUID_;
  const std::string identifier_;
  std::atomic<bool> notifyOnEntry_ = true;
  std::atomic<bool> notifyOnExit_ = true;
  std::atomic<bool> notifyEntryStateOnDisplay_ = false;
};

/// One beacon of a ranging report.
struct CLBeacon {
  /// The network that the beacon belongs to.
  UUID proximityUUID;
  /// 0 to 65535, as is `minor`.
  std::int32_t major = 0;
  /// 0 to 65535.
  std::int32_t minor = 0;
  /// The class of `accuracy`.
  CLProximity proximity = kCLProximityUnknown;
  /// Estimated distance, one sigma, metres; negative when unknown.
  double accuracy = -1.0;
  /// Mean signal strength since the last report, dBm; 0 when there was no reading.
  std::int32_t rssi = 0;
};

/// A point on the ground, WGS 84.
struct CLLocationCoordinate2D {
  /// Degrees, positive to the north.
  double latitude = 0.0;
  /// Degrees, positive to the east.
  double longitude = 0.0;
};

/// One position of the device.
struct CLLocation {
  /// Where the device is.
  CLLocationCoordinate2D coordinate;
  /// Radius of uncertainty, metres; negative when the coordinate is invalid.
  double horizontalAccuracy = -1.0;
};

class CLLocationManager;

/// What a location manager reports. All calls come on the thread that created the manager, never
/// from inside a call to the manager. An exception that leaves one ends there.
class BRIVANE_EXPORT CLLocationManagerDelegate {
 public:
  virtual ~CLLocationManagerDelegate() = default;

  /// Once after the manager was created, and at each change.
  virtual void locationManager_didChangeAuthorizationStatus(CLLocationManager& manager,
                                                            std::int32_t status) = 0;
  /// After each crossing, and once for each state request.
  virtual void locationManager_didDetermineState_forRegion(CLLocationManager& manager,
                                                           std::int64_t state,
                                                           const CLBeaconRegion& region) = 0;
  /// A monitored region was entered, if it is to be told of that.
  virtual void locationManager_didEnterRegion(CLLocationManager& manager,
                                              const CLBeaconRegion& region) = 0;
  /// A monitored region was left, if it is to be told of that.
  virtual void locationManager_didExitRegion(CLLocationManager& manager,
                                             const CLBeaconRegion& region) = 0;
  /// About once a second while a region is ranged; nearest first, empty when none is in range.
  virtual void locationManager_didRangeBeacons_inRegion(CLLocationManager& manager,
                                                        const std::vector<CLBeacon>& beacons,
                                                        const CLBeaconRegion& region) = 0;
  /// New positions, newest last.
  virtual void locationManager_didUpdateLocations(CLLocationManager& manager,
                                                  const std::vector<CLLocation>& locations) = 0;
  /// There is no position. `error` is one line for a person, as it is below.
  virtual void locationManager_didFailWithError(CLLocationManager& manager,
                                                const std::string& error) = 0;
  /// A region cannot be monitored at present.
  virtual void locationManager_monitoringDidFailForRegion_withError(CLLocationManager& manager,
                                                                    const CLBeaconRegion& region,
                                                                    const std::string& error) = 0;
  /// A region cannot be ranged at present.
  virtual void locationManager_rangingBeaconsDidFailForRegion_withError(
      CLLocationManager& manager, const CLBeaconRegion& region, const std::string& error) = 0;
};

/// Monitors and ranges regions and tracks the position for one owner. The operations may be called
/// on any thread, take effect soon after, and report failure through the delegate alone. When the
/// last reference goes, everything this manager started stops and no further call is made.
class BRIVANE_EXPORT CLLocationManager {
 public:
  virtual ~CLLocationManager() = default;

  /// Holds the delegate weakly; an expired or empty one is not called.
  virtual void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) = 0;

  /// Whether the user can be asked for permanent authorisation on this platform at all.
  virtual bool offersRequestAlwaysAuthorization() const = 0;
  /// Asks the user for it, if the status is not determined yet. Only where it is offered.
  virtual void requestAlwaysAuthorization() = 0;

  /// Reports when the region is entered and left, until it is stopped.
  virtual void startMonitoringForRegion(std::shared_ptr<const CLBeaconRegion> region) = 0;
  /// By the region's identifier; nothing happens when it is not monitored.
  virtual void stopMonitoringForRegion(const CLBeaconRegion& region) = 0;
  /// Answered once, later, from what is known then; it may be unknown.
  virtual void requestStateForRegion(std::shared_ptr<const CLBeaconRegion> region) = 0;
  /// Reports the region's beacons about once a second, until it is stopped.
  virtual void startRangingBeaconsInRegion(std::shared_ptr<const CLBeaconRegion> region) = 0;
  /// By the region's identifier; nothing happens when it is not ranged.
  virtual void stopRangingBeaconsInRegion(const CLBeaconRegion& region) = 0;

  /// Metres.
  virtual void setDesiredAccuracy(double accuracy) = 0;
  /// How far the device must have moved since the last position delivered, metres;
  /// kCLDistanceFilterNone at first.
  virtual void setDistanceFilter(double distance) = 0;
  /// Reports positions, until it is stopped.
  virtual void startUpdatingLocation() = 0;
  /// Ends that.
  virtual void stopUpdatingLocation() = 0;
};

/// The device's location service. Any thread.
class BRIVANE_EXPORT LocationService {
 public:
  virtual ~LocationService() = default;

  /// The application's present authorisation, one of CLAuthorizationStatus.
  virtual std::int32_t authorizationStatus() const = 0;
  /// Whether the device's location services are switched on at all.
  virtual bool locationServicesEnabled() const = 0;
  /// A new manager, whose delegate is called on the calling thread.
  virtual std::shared_ptr<CLLocationManager> createManager() = 0;
};

}  // namespace platform
