// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BrivaneSDK/BVManager.h"
#include "platform/Location.h"

namespace guide {

/// Stands between a manager and its location manager, as the delegate of that, and tells which
/// beacon each call of the library is about: the library names the place of a beacon and not how
/// far that is. Each beacon of a ranging report is handed on as a report of its own, in the same
/// order. On the manager's thread.
class BeaconWatch final : public platform::CLLocationManagerDelegate {
 public:
  /// None may be empty.
  struct Hooks {
    /// The library is about to be told of this beacon alone.
    std::function<void(const platform::CLBeacon&)> onBeacon;
    std::function<void()> onReportEnds;
    std::function<void(const platform::CLLocation&)> onPosition;
  };

  BeaconWatch(std::weak_ptr<BVManager> manager, Hooks hooks)
      : manager_(std::move(manager)), hooks_(std::move(hooks)) {}

 private:
  using From = platform::CLLocationManager;
  using Region = platform::CLBeaconRegion;

  void locationManager_didChangeAuthorizationStatus(From& from, std::int32_t status) override {
    tell([&](auto& to) { to.locationManager_didChangeAuthorizationStatus(from, status); });
  }
  void locationManager_didDetermineState_forRegion(From& from, std::int64_t state,
                                                   const Region& region) override {
    tell([&](auto& to) { to.locationManager_didDetermineState_forRegion(from, state, region); });
  }
  void locationManager_didEnterRegion(From& from, const Region& region) override {
    tell([&](auto& to) { to.locationManager_didEnterRegion(from, region); });
  }
  void locationManager_didExitRegion(From& from, const Region& region) override {
    tell([&](auto& to) { to.locationManager_didExitRegion(from, region); });
  }
  void locationManager_didRangeBeacons_inRegion(From& from,
                                                const std::vector<platform::CLBeacon>& beacons,
                                                const Region& region) override {
    for (const platform::CLBeacon& beacon : beacons) {
      hooks_.onBeacon(beacon);
      tell([&](auto& to) { to.locationManager_didRangeBeacons_inRegion(from, {beacon}, region); });
    }
    hooks_.onReportEnds();
  }
  void locationManager_didUpdateLocations(
      From& from, const std::vector<platform::CLLocation>& locations) override {
    if (!locations.empty()) hooks_.onPosition(locations.back());
    tell([&](auto& to) { to.locationManager_didUpdateLocations(from, locations); });
  }
  // The library only logs these.
  void locationManager_didFailWithError(From&, const std::string&) override {}
  void locationManager_monitoringDidFailForRegion_withError(From&, const Region&,
                                                            const std::string&) override {}
  void locationManager_rangingBeaconsDidFailForRegion_withError(From&, const Region&,
                                                                const std::string&) override {}

  template <typename Call>
  void tell(Call call) const {
    if (const auto manager = manager_.lock()) call(*manager);
  }

  const std::weak_ptr<BVManager> manager_;
  const Hooks hooks_;
};

}  // namespace guide
