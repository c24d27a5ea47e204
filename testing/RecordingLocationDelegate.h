// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Export.h"
#include "platform/Location.h"
#include "testing/Journal.h"

namespace brivane::testing {

/// Writes down what a location manager reports. On the manager's thread.
///
/// Lines read "auth3" and "state1", with the status and the state, "enter", "exit", "range-60,0"
/// with the strength of each beacon, "at" for positions, and an error as it is.
class BRIVANE_EXPORT RecordingLocationDelegate final : public platform::CLLocationManagerDelegate {
 public:
  /// Short for the names in the calls.
  using Manager = platform::CLLocationManager;
  /// Likewise.
  using Region = platform::CLBeaconRegion;

  /// Each line goes into `journal`, unless that is null.
  explicit RecordingLocationDelegate(std::shared_ptr<Journal> journal = nullptr);
  ~RecordingLocationDelegate() override;

  /// Has each line stand behind what `prefix` gives, the time for instance.
  void setPrefix(std::function<std::string()> prefix) { prefix_ = std::move(prefix); }
  /// Has `react` called at the end of each call, with its line but without the prefix.
  void onCall(std::function<void(Manager& manager, const std::string& line)> react) {
    react_ = std::move(react);
  }

  void locationManager_didChangeAuthorizationStatus(Manager& manager, std::int32_t status) override;
  void locationManager_didDetermineState_forRegion(Manager& manager, std::int64_t state,
                                                   const Region& region) override;
  void locationManager_didEnterRegion(Manager& manager, const Region& region) override;
  void locationManager_didExitRegion(Manager& manager, const Region& region) override;
  void locationManager_didRangeBeacons_inRegion(Manager& manager,
                                                const std::vector<platform::CLBeacon>& beacons,
                                                const Region& region) override;
  void locationManager_didUpdateLocations(
      Manager& manager, const std::vector<platform::CLLocation>& locations) override;
  void locationManager_didFailWithError(Manager& manager, const std::string& error) override;
  void locationManager_monitoringDidFailForRegion_withError(Manager& manager, const Region& region,
                                                            const std::string& error) override;
  void locationManager_rangingBeaconsDidFailForRegion_withError(Manager& manager,
                                                                const Region& region,
                                                                const std::string& error) override;

 private:
  void tell(Manager& manager, const std::string& line);

  const std::shared_ptr<Journal> journal_;
  std::function<std::string()> prefix_;
  std::function<void(Manager& manager, const std::string& line)> react_;
};

}  // namespace brivane::testing
