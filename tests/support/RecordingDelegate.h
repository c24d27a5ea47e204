// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Location.h"

/// Writes down what a location manager reports, a word a call, each behind what `prefix` gives.
class RecordingDelegate final : public platform::CLLocationManagerDelegate {
 public:
  std::string take() { return std::exchange(heard_, {}); }

  std::function<std::string()> prefix = [] { return std::string(); };
  /// Called at each call, after it was written down.
  std::function<void(platform::CLLocationManager&, const std::string&)> onEach = [](auto&, auto&) {};

 private:
  using Manager = platform::CLLocationManager;
  using Region = platform::CLBeaconRegion;

  void note(Manager& manager, const std::string& call) {
    heard_.append(heard_.empty() ? "" : " ").append(prefix()).append(call);
    onEach(manager, call);
  }
  void locationManager_didChangeAuthorizationStatus(Manager& m, std::int32_t status) override {
    note(m, "auth" + std::to_string(status));
  }
  void locationManager_didDetermineState_forRegion(Manager& m, std::int64_t state, const Region&) override {
    note(m, "state" + std::to_string(state));
  }
  void locationManager_didEnterRegion(Manager& m, const Region&) override { note(m, "enter"); }
  void locationManager_didExitRegion(Manager& m, const Region&) override { note(m, "exit"); }
  void locationManager_didRangeBeacons_inRegion(Manager& m, const std::vector<platform::CLBeacon>& beacons,
                                                const Region&) override {
    std::string readings;
    for (const auto& beacon : beacons) readings += (readings.empty() ? "" : ",") + std::to_string(beacon.rssi);
    note(m, "range" + readings);
  }
  void locationManager_didUpdateLocations(Manager& m, const std::vector<platform::CLLocation>&) override {
    note(m, "at");
  }
  void locationManager_didFailWithError(Manager& m, const std::string& error) override { note(m, error); }
  void locationManager_monitoringDidFailForRegion_withError(Manager& m, const Region&,
                                                            const std::string& error) override {
    note(m, error);
  }
  void locationManager_rangingBeaconsDidFailForRegion_withError(Manager& m, const Region&,
                                                                const std::string& error) override {
    note(m, error);
  }

  std::string heard_;
};
