// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/Screen.h"
#include "platform/Location.h"

namespace host {

/// Shows each ranging report: as JSON, as a table that is refreshed where a person watches, else a
/// line a beacon.
class BeaconTable final : public platform::CLLocationManagerDelegate {
 public:
  struct Options {
    bool json = false;
    /// The time of the report, seconds.
    std::function<double()> now;
  };

  BeaconTable(Screen& screen, Options options);

  /// Leaves the latest report on the screen, or says that nothing was heard.
  void finish();

 private:
  using Manager = platform::CLLocationManager;
  using Region = platform::CLBeaconRegion;
  using Beacons = std::vector<platform::CLBeacon>;

  void locationManager_didChangeAuthorizationStatus(Manager&, std::int32_t) override {}
  void locationManager_didDetermineState_forRegion(Manager& manager, std::int64_t state,
                                                   const Region& region) override;
  void locationManager_didEnterRegion(Manager&, const Region&) override {}
  void locationManager_didExitRegion(Manager&, const Region&) override {}
  void locationManager_didRangeBeacons_inRegion(Manager& manager, const Beacons& beacons,
                                                const Region& region) override;
  void locationManager_didUpdateLocations(Manager&,
                                          const std::vector<platform::CLLocation>&) override {}
  void locationManager_didFailWithError(Manager&, const std::string&) override {}
  void locationManager_monitoringDidFailForRegion_withError(Manager&, const Region&,
                                                            const std::string&) override {}
  void locationManager_rangingBeaconsDidFailForRegion_withError(Manager&, const Region&,
                                                                const std::string&) override {}

  void showTable(const Beacons& beacons);
  std::string line(const platform::CLBeacon& beacon) const;

  Screen& screen_;
  const Options options_;
  std::string table_;
  bool heard_ = false;
};

}  // namespace host
