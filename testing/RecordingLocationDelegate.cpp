// SPDX-License-Identifier: Apache-2.0
#include "testing/RecordingLocationDelegate.h"

#include <utility>

namespace brivane::testing {

RecordingLocationDelegate::RecordingLocationDelegate(std::shared_ptr<Journal> journal)
    : journal_(std::move(journal)) {}

RecordingLocationDelegate::~RecordingLocationDelegate() = default;

void RecordingLocationDelegate::locationManager_didChangeAuthorizationStatus(Manager& manager,
                                                                             std::int32_t status) {
  tell(manager, "auth" + std::to_string(status));
}

void RecordingLocationDelegate::locationManager_didDetermineState_forRegion(
    Manager& manager, std::int64_t state, const Region& /*region*/) {
  tell(manager, "state" + std::to_string(state));
}

void RecordingLocationDelegate::locationManager_didEnterRegion(Manager& manager,
                                                               const Region& /*region*/) {
  tell(manager, "enter");
}

void RecordingLocationDelegate::locationManager_didExitRegion(Manager& manager,
                                                              const Region& /*region*/) {
  tell(manager, "exit");
}

void RecordingLocationDelegate::locationManager_didRangeBeacons_inRegion(
    Manager& manager, const std::vector<platform::CLBeacon>& beacons, const Region& /*region*/) {
  std::string line = "range";
  for (const platform::CLBeacon& beacon : beacons) {
    if (&beacon != &beacons.front()) line += ",";
    line += std::to_string(beacon.rssi);
  }
  tell(manager, line);
}

void RecordingLocationDelegate::locationManager_didUpdateLocations(
    Manager& manager, const std::vector<platform::CLLocation>& /*locations*/) {
  tell(manager, "at");
}

void RecordingLocationDelegate::locationManager_didFailWithError(Manager& manager,
                                                                 const std::string& error) {
  tell(manager, error);
}

void RecordingLocationDelegate::locationManager_monitoringDidFailForRegion_withError(
    Manager& manager, const Region& /*region*/, const std::string& error) {
  tell(manager, error);
}

void RecordingLocationDelegate::locationManager_rangingBeaconsDidFailForRegion_withError(
    Manager& manager, const Region& /*region*/, const std::string& error) {
  tell(manager, error);
}

void RecordingLocationDelegate::tell(Manager& manager, const std::string& line) {
  if (journal_) journal_->write(prefix_ ? prefix_() + line : line);
  if (react_) react_(manager, line);
}

}  // namespace brivane::testing
