// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "BrivaneSDK/BVAPIDelegate.h"
#include "BrivaneSDK/BVManagerDelegate.h"
#include "platform/Export.h"
#include "platform/JSONValue.h"
#include "platform/Location.h"

/// Detects the network's beacons and tells the host which places are near. The one class that a
/// host works with: create it, wait for `didIsReady`, call `startDetection`.
///
/// Operations may be called on any thread, also from inside a delegate call, and return at once.
/// Managers of one process share one detection state: a second manager takes over the service
/// client, empties the cache, and finds detection running or not as the first left it. Its login,
/// once answered, also ends the session that the first one had, until its own sync is answered:
/// with no answer to that, no manager can start detection or ask for places until a further one has
/// synced.
class BRIVANE_EXPORT BVManager final : public BVAPIDelegate,
                                       public platform::CLLocationManagerDelegate,
                                       public std::enable_shared_from_this<BVManager> {
 public:
  /// A new manager with the credentials of the host's property list ("BrivaneAPIKey" and
  /// "BrivaneAPISecret"), whose login is on its way. Throws BVException "BVAPICredentialsNotFound"
  /// when one is absent or empty, and what the other initialiser throws. `delegate` may be null.
  static std::shared_ptr<BVManager> initWithDelegate(std::shared_ptr<BVManagerDelegate> delegate);

  /// The same with credentials of the host's own, which are sent as they are. Location callbacks
  /// will come on the calling thread. Throws BVException "BVCoreLocationAuthError" when the
  /// property list has no "NSLocationAlwaysUsageDescription", and std::logic_error when no services
  /// are installed: nothing has happened then. What the location service throws when it makes its
  /// manager passes through; the login has been sent by then, and its answer ends the session of an
  /// earlier manager, with no sync to follow.
  static std::shared_ptr<BVManager> initWithDelegate_andAPIKey_andAPISecret(
      std::shared_ptr<BVManagerDelegate> delegate, const std::string& key,
      const std::string& secret);

  /// Releases the location manager, which ends what that did, then the delegate. Detection is not
  /// stopped: `isScanning` stays as it was.
  ~BVManager() override;
  BVManager(const BVManager&) = delete;
  BVManager& operator=(const BVManager&) = delete;

  /// Held until it is replaced or the manager goes; null when there is none.
  std::shared_ptr<BVManagerDelegate> delegate() const;
  void setDelegate(std::shared_ptr<BVManagerDelegate> delegate);

  /// The location manager through which this manager works; never null.
  std::shared_ptr<platform::CLLocationManager> locationManager() const;
  /// Throws std::invalid_argument for null.
  void setLocationManager(std::shared_ptr<platform::CLLocationManager> locationManager);

  /// Whether `startDetection` also tracks the position; false at first. A change counts from the
  /// next start.
  bool enabledGPS() const;
  void setEnabledGPS(bool value);

  /// Starts detection with an empty cache; a second start does so again. True when it has started,
  /// also when positions could not be (`didErrorFound`). False, and nothing has changed, before the
  /// service session is ready or without permanent location authorisation.
  bool startDetection();
  /// Stops detection; matches already on their way still arrive. Always true.
  bool stopDetection();
  /// Whether detection was started and not stopped, whatever is in range.
  bool isScanning() const;
  /// The network's beacon region, one for the process.
  std::shared_ptr<platform::CLBeaconRegion> getRegion() const;

  /// Asks for the places within `radius` metres of a coordinate in degrees; they come through
  /// `didNearestWaybeacons`. False when the service session is not ready; nothing will come then.
  bool getNearestAtLat_andLng_insideRadius(double lat, double lng, std::int64_t radius);
  /// Whether the service session is ready. The payload is not sent; both arguments are ignored.
  bool setPayload_forWaybeacon(const platform::JSONValue& payload,
                               const std::shared_ptr<const BVWaybeacon>& waybeacon);

  // Calls of the service client.
  void receivedLogin(const std::shared_ptr<const BVAPILogin>& login) override;
  void receivedSync(const std::shared_ptr<const BVAPISync>& sync) override;
  void receivedResolve_forRequest(
      const std::shared_ptr<const BVAPIResolve>& resolve,
      const std::shared_ptr<const BVAPIResolveRequest>& request) override;
  void receivedPayload(const std::shared_ptr<const BVAPIPayload>& payload) override;
  void receivedNearest(const std::shared_ptr<const BVAPINearest>& nearest) override;

  // Calls of the location service.
  void locationManager_didChangeAuthorizationStatus(platform::CLLocationManager& manager,
                                                    std::int32_t status) override;
  void locationManager_didDetermineState_forRegion(platform::CLLocationManager& manager,
                                                   std::int64_t state,
                                                   const platform::CLBeaconRegion& region) override;
  void locationManager_didEnterRegion(platform::CLLocationManager& manager,
                                      const platform::CLBeaconRegion& region) override;
  void locationManager_didExitRegion(platform::CLLocationManager& manager,
                                     const platform::CLBeaconRegion& region) override;
  void locationManager_didRangeBeacons_inRegion(platform::CLLocationManager& manager,
                                                const std::vector<platform::CLBeacon>& beacons,
                                                const platform::CLBeaconRegion& region) override;
  void locationManager_didUpdateLocations(
      platform::CLLocationManager& manager,
      const std::vector<platform::CLLocation>& locations) override;
  void locationManager_didFailWithError(platform::CLLocationManager& manager,
                                        const std::string& error) override;
  void locationManager_monitoringDidFailForRegion_withError(platform::CLLocationManager& manager,
                                                            const platform::CLBeaconRegion& region,
                                                            const std::string& error) override;
  void locationManager_rangingBeaconsDidFailForRegion_withError(
      platform::CLLocationManager& manager, const platform::CLBeaconRegion& region,
      const std::string& error) override;

 private:
  struct State;

  explicit BVManager(std::shared_ptr<BVManagerDelegate> delegate);

  void createLocationManager();
  void startUpdatingLocation();
  void rangeBeacon(const platform::CLBeacon& beacon);
  void askForBeacon(const std::string& key, const platform::CLBeacon& beacon);
  void tellMatch(const std::shared_ptr<const BVAPIResolve>& match);

  const std::unique_ptr<State> state_;
};
