#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Location.h"

namespace bench {

/// Counts what it is told of the beacons around.
class Walker final : public platform::CLLocationManagerDelegate {
 public:
  void locationManager_didChangeAuthorizationStatus(platform::CLLocationManager& /*manager*/,
                                                    std::int32_t /*status*/) override {}
  void locationManager_didDetermineState_forRegion(
      platform::CLLocationManager& /*manager*/, std::int64_t /*state*/,
      const platform::CLBeaconRegion& /*region*/) override {}
  void locationManager_didEnterRegion(platform::CLLocationManager& /*manager*/,
                                      const platform::CLBeaconRegion& /*region*/) override {}
  void locationManager_didExitRegion(platform::CLLocationManager& /*manager*/,
                                     const platform::CLBeaconRegion& /*region*/) override {}
  void locationManager_didRangeBeacons_inRegion(
      platform::CLLocationManager& /*manager*/, const std::vector<platform::CLBeacon>& beacons,
      const platform::CLBeaconRegion& /*region*/) override {
    ++reports;
    ranged += static_cast<std::int64_t>(beacons.size());
  }
  void locationManager_didUpdateLocations(
      platform::CLLocationManager& /*manager*/,
      const std::vector<platform::CLLocation>& /*locations*/) override {}
  void locationManager_didFailWithError(platform::CLLocationManager& /*manager*/,
                                        const std::string& /*error*/) override {}
  void locationManager_monitoringDidFailForRegion_withError(
      platform::CLLocationManager& /*manager*/, const platform::CLBeaconRegion& /*region*/,
      const std::string& /*error*/) override {}
  void locationManager_rangingBeaconsDidFailForRegion_withError(
      platform::CLLocationManager& /*manager*/, const platform::CLBeaconRegion& /*region*/,
      const std::string& /*error*/) override {}

  std::int64_t reports = 0;
  std::int64_t ranged = 0;
};

}  // namespace bench
