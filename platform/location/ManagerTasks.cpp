// SPDX-License-Identifier: Apache-2.0
#include "platform/location/ManagerTasks.h"

#include <algorithm>
#include <utility>

namespace platform {

ManagerTasks::ManagerTasks(std::weak_ptr<ReportQueue::Manager> manager, ReportQueue& reports)
    : manager_(std::move(manager)), reports_(reports) {}

void ManagerTasks::monitor(const Region& region) {
  monitored_[region->identifier()] = std::make_shared<Monitored>(Monitored{region, std::nullopt});
}

void ManagerTasks::range(const Region& region) {
  auto& ranged = ranged_[region->identifier()];
  // A region that is ranged already goes on in its rhythm.
  if (!ranged) ranged = std::make_shared<Ranged>(Ranged{region, std::nullopt});
}

void ManagerTasks::startUpdating() {
  if (updating_) return;
  filter_.reset();
  updating_ = std::make_shared<bool>(true);
}

void ManagerTasks::addTo(LocationCore::Wanted& wanted) const {
  for (const auto& [identifier, monitored] : monitored_) {
    wanted.beacons.insert(monitored->region->proximityUUID());
    const bool isInside = monitored->monitor && monitored->monitor->state() == kCLRegionStateInside;
    wanted.everyFrame = wanted.everyFrame || isInside;
  }
  for (const auto& [identifier, ranged] : ranged_) {
    wanted.beacons.insert(ranged->region->proximityUUID());
    wanted.everyFrame = true;
  }
  wanted.authorization = wanted.authorization || wantsAuthorization_;
  if (!updating_) return;
  wanted.accuracy = wanted.positions ? std::min(wanted.accuracy, accuracy_) : accuracy_;
  wanted.positions = true;
}

CLRegionState ManagerTasks::stateOf(const CLBeaconRegion& region) const {
  const auto found = monitored_.find(region.identifier());
  const bool hasBegun = found != monitored_.end() && found->second->monitor;
  return hasBegun ? found->second->monitor->state() : kCLRegionStateUnknown;
}

std::optional<Instant> ManagerTasks::deadline() const {
  std::optional<Instant> earliest;
  for (const auto& [identifier, monitored] : monitored_) {
    if (monitored->monitor) earliest = earlier(earliest, monitored->monitor->deadline());
  }
  for (const auto& [identifier, ranged] : ranged_) {
    if (ranged->window) earliest = earlier(earliest, ranged->window->deadline());
  }
  return earliest;
}

void ManagerTasks::begin(const Beginning& beginning) {
  for (const auto& [identifier, monitored] : monitored_) {
    if (monitored->monitor) continue;
    monitored->monitor.emplace(beginning.now, beginning.exitPeriod, beginning.scanning);
  }
  for (const auto& [identifier, ranged] : ranged_) {
    if (!ranged->window) ranged->window.emplace(ranged->region->proximityUUID(), beginning.now);
  }
}

void ManagerTasks::hear(const IBeaconFrame& frame, int rssi, Instant heard, Instant now) {
  for (const auto& [identifier, monitored] : monitored_) {
    if (monitored->region->proximityUUID() == frame.proximityUUID) {
      reportChange(monitored, monitored->monitor->hear(heard, now));
    }
  }
  for (const auto& [identifier, ranged] : ranged_) {
    if (ranged->region->proximityUUID() == frame.proximityUUID) {
      ranged->window->hear(frame, rssi, heard);
    }
  }
}

void ManagerTasks::locate(const CLLocation& position) {
  if (!updating_ || !filter_.passes(position)) return;
  report(updating_, [position](auto& delegate, auto& manager) {
    delegate.locationManager_didUpdateLocations(manager, {position});
  });
}

void ManagerTasks::setScanning(bool scanning, Instant now) {
  for (const auto& [identifier, monitored] : monitored_) {
    monitored->monitor->setScanning(scanning, now);
  }
}

void ManagerTasks::sleep(Duration time) {
  for (const auto& [identifier, monitored] : monitored_) {
    if (monitored->monitor) monitored->monitor->sleep(time);
  }
  for (const auto& [identifier, ranged] : ranged_) {
    if (ranged->window) ranged->window->forget();
  }
}

void ManagerTasks::advance(Instant now) {
  for (const auto& [identifier, monitored] : monitored_) {
    if (monitored->monitor) reportChange(monitored, monitored->monitor->advance(now));
  }
  for (const auto& [identifier, ranged] : ranged_) {
    if (!ranged->window || ranged->window->deadline() > now) continue;
    report(ranged, [region = ranged->region, beacons = ranged->window->report()](auto& delegate,
                                                                                 auto& manager) {
      delegate.locationManager_didRangeBeacons_inRegion(manager, beacons, *region);
    });
  }
}

void ManagerTasks::failBeacons(const std::string& error) {
  for (const auto& [identifier, ranged] : ranged_) {
    report(ranged, [region = ranged->region, error](auto& delegate, auto& manager) {
      delegate.locationManager_rangingBeaconsDidFailForRegion_withError(manager, *region, error);
    });
  }
  if (!ranged_.empty()) return;
  for (const auto& [identifier, monitored] : monitored_) {
    report(monitored, [region = monitored->region, error](auto& delegate, auto& manager) {
      delegate.locationManager_monitoringDidFailForRegion_withError(manager, *region, error);
    });
  }
}

void ManagerTasks::failPositions(const std::string& error) {
  if (!updating_) return;
  report(updating_, [error](auto& delegate, auto& manager) {
    delegate.locationManager_didFailWithError(manager, error);
  });
}

void ManagerTasks::tellPermission(const std::function<Permission()>& permission) {
  report(manager_, [permission](auto& delegate, auto& manager) {
    delegate.locationManager_didChangeAuthorizationStatus(manager, permission().status);
  });
}

void ManagerTasks::report(std::weak_ptr<const void> subject, ReportQueue::Call call) {
  reports_.add({manager_, std::move(subject), std::move(call)});
}

void ManagerTasks::reportChange(const std::shared_ptr<Monitored>& monitored,
                                RegionMonitor::Change change) {
  using Change = RegionMonitor::Change;
  const Region& region = monitored->region;
  if (change == Change::kNone) return;
  if (change == Change::kEntered && region->notifyOnEntry()) {
    report(monitored, [region](auto& delegate, auto& manager) {
      delegate.locationManager_didEnterRegion(manager, *region);
    });
  }
  if (change == Change::kExited && region->notifyOnExit()) {
    report(monitored, [region](auto& delegate, auto& manager) {
      delegate.locationManager_didExitRegion(manager, *region);
    });
  }
  report(monitored, [region, state = monitored->monitor->state()](auto& delegate, auto& manager) {
    delegate.locationManager_didDetermineState_forRegion(manager, state, *region);
  });
}

}  // namespace platform
