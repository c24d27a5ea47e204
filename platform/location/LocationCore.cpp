#include "platform/location/LocationCore.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/location/IBeaconFrame.h"
#include "platform/location/PositionFilter.h"
#include "platform/location/RangingWindow.h"
#include "platform/location/RegionMonitor.h"

namespace platform {
namespace {

using Region = std::shared_ptr<const CLBeaconRegion>;
using Call = std::function<void(CLLocationManagerDelegate&, CLLocationManager&)>;

struct Monitored {
  Region region;
  RegionMonitor monitor;
};

struct Ranged {
  Region region;
  RangingWindow window;
};

}  // namespace

/// What managers and feeding threads share, under one lock, which is never held while a delegate is
/// called: calls are queued here first.
struct LocationCore::State {
  struct Report {
    std::weak_ptr<Manager> manager;
    /// What the report is about. A report is dropped when that has gone: nothing is reported about
    /// a region after it was stopped.
    std::weak_ptr<const void> subject;
    Call call;
  };

  explicit State(const Options& settings) : options(settings) {}

  /// Delivers what is queued, also what comes to it meanwhile. Without the lock.
  void deliver();

  mutable std::mutex mutex;
  Options options;
  Instant now{};
  bool scanning = true;
  std::vector<std::weak_ptr<Manager>> managers;
  std::deque<Report> reports;
};

class LocationCore::Manager final : public CLLocationManager,
                                    public std::enable_shared_from_this<Manager> {
 public:
  explicit Manager(std::shared_ptr<State> state) : state_(std::move(state)) {}

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override {
    const std::lock_guard lock(state_->mutex);
    delegate_ = std::move(delegate);
  }

  bool offersRequestAlwaysAuthorization() const override { return false; }
  void requestAlwaysAuthorization() override {}

  void startMonitoringForRegion(Region region) override {
    const std::lock_guard lock(state_->mutex);
    const RegionMonitor monitor(state_->now, state_->options.exitPeriod, state_->scanning);
    const std::string& identifier = region->identifier();
    monitored_[identifier] = std::make_shared<Monitored>(Monitored{region, monitor});
  }

  void stopMonitoringForRegion(const CLBeaconRegion& region) override {
    const std::lock_guard lock(state_->mutex);
    monitored_.erase(region.identifier());
  }

  void requestStateForRegion(Region region) override {
    const std::lock_guard lock(state_->mutex);
    queue(shared_from_this(), [this, region](auto& delegate, auto& manager) {
      delegate.locationManager_didDetermineState_forRegion(manager, stateOf(*region), *region);
    });
  }

  void startRangingBeaconsInRegion(Region region) override {
    const std::lock_guard lock(state_->mutex);
    auto& ranged = ranged_[region->identifier()];
    // A region that is ranged already goes on in its rhythm.
    if (!ranged) ranged = std::make_shared<Ranged>(Ranged{region, RangingWindow(state_->now)});
  }

  void stopRangingBeaconsInRegion(const CLBeaconRegion& region) override {
    const std::lock_guard lock(state_->mutex);
    ranged_.erase(region.identifier());
  }

  /// Sources deliver the best they have.
  void setDesiredAccuracy(double /*accuracy*/) override {}

  void setDistanceFilter(double distance) override {
    const std::lock_guard lock(state_->mutex);
    filter_.setDistance(distance);
  }

  void startUpdatingLocation() override {
    const std::lock_guard lock(state_->mutex);
    if (updating_) return;
    filter_.reset();
    updating_ = std::make_shared<bool>(true);
  }

  void stopUpdatingLocation() override {
    const std::lock_guard lock(state_->mutex);
    updating_.reset();
  }

  // The rest is called by the core.

  std::shared_ptr<CLLocationManagerDelegate> delegate() const {
    const std::lock_guard lock(state_->mutex);
    return delegate_.lock();
  }

  // Under the lock.

  void queueAuthorization() {
    queue(shared_from_this(), [state = state_](auto& delegate, auto& manager) {
      std::unique_lock lock(state->mutex);
      const std::int32_t status = state->options.authorization;
      lock.unlock();
      delegate.locationManager_didChangeAuthorizationStatus(manager, status);
    });
  }

  void hear(const IBeaconFrame& frame, int rssi, Instant now) {
    for (const auto& [identifier, monitored] : monitored_) {
      if (monitored->region->proximityUUID() == frame.identity.uuid) {
        queueChange(monitored, monitored->monitor.hear(now));
      }
    }
    for (const auto& [identifier, ranged] : ranged_) {
      if (ranged->region->proximityUUID() == frame.identity.uuid) {
        ranged->window.hear(frame, rssi, now);
      }
    }
  }

  void locate(const CLLocation& position) {
    if (!updating_ || !filter_.passes(position)) return;
    queue(updating_, [position](auto& delegate, auto& manager) {
      delegate.locationManager_didUpdateLocations(manager, {position});
    });
  }

  void setScanning(bool scanning, Instant now) {
    for (const auto& [identifier, monitored] : monitored_) {
      monitored->monitor.setScanning(scanning, now);
    }
  }

  std::optional<Instant> deadline() const {
    std::optional<Instant> earliest;
    const auto consider = [&earliest](std::optional<Instant> time) {
      if (time && (!earliest || *time < *earliest)) earliest = time;
    };
    for (const auto& [identifier, monitored] : monitored_) consider(monitored->monitor.deadline());
    for (const auto& [identifier, ranged] : ranged_) consider(ranged->window.deadline());
    return earliest;
  }

  void advance(Instant now) {
    for (const auto& [identifier, monitored] : monitored_) {
      queueChange(monitored, monitored->monitor.advance(now));
    }
    for (const auto& [identifier, ranged] : ranged_) {
      if (ranged->window.deadline() > now) continue;
      queue(ranged, [region = ranged->region, beacons = ranged->window.report()](auto& delegate,
                                                                                 auto& manager) {
        delegate.locationManager_didRangeBeacons_inRegion(manager, beacons, *region);
      });
    }
  }

 private:
  CLRegionState stateOf(const CLBeaconRegion& region) const {
    const std::lock_guard lock(state_->mutex);
    const auto found = monitored_.find(region.identifier());
    return found == monitored_.end() ? kCLRegionStateUnknown : found->second->monitor.state();
  }

  void queue(const std::shared_ptr<const void>& subject, Call call) {
    state_->reports.push_back({weak_from_this(), subject, std::move(call)});
  }

  void queueChange(const std::shared_ptr<Monitored>& monitored, RegionMonitor::Change change) {
    using Change = RegionMonitor::Change;
    const Region& region = monitored->region;
    if (change == Change::kNone) return;
    if (change == Change::kEntered && region->notifyOnEntry()) {
      queue(monitored, [region](auto& delegate, auto& manager) {
        delegate.locationManager_didEnterRegion(manager, *region);
      });
    }
    if (change == Change::kExited && region->notifyOnExit()) {
      queue(monitored, [region](auto& delegate, auto& manager) {
        delegate.locationManager_didExitRegion(manager, *region);
      });
    }
    queue(monitored, [region, state = monitored->monitor.state()](auto& delegate, auto& manager) {
      delegate.locationManager_didDetermineState_forRegion(manager, state, *region);
    });
  }

  const std::shared_ptr<State> state_;
  std::weak_ptr<CLLocationManagerDelegate> delegate_;
  std::map<std::string, std::shared_ptr<Monitored>> monitored_;
  std::map<std::string, std::shared_ptr<Ranged>> ranged_;
  PositionFilter filter_;
  std::shared_ptr<const bool> updating_;  // there while positions are wanted
};

void LocationCore::State::deliver() {
  for (;;) {
    std::unique_lock lock(mutex);
    if (reports.empty()) return;
    const Report report = std::move(reports.front());
    reports.pop_front();
    const auto manager = report.manager.lock();
    const bool wanted = manager && !report.subject.expired();
    lock.unlock();
    const auto delegate = wanted ? manager->delegate() : nullptr;
    if (!delegate) continue;
    try {
      report.call(*delegate, *manager);
    } catch (...) {  // NOLINT(bugprone-empty-catch): what a host throws ends here, with this call
    }
  }
}

namespace {

/// Calls `use` for each manager that is still there.
template <typename Managers, typename Use>
void forEach(Managers& managers, Use use) {
  std::erase_if(managers, [&use](const auto& weak) {
    const auto manager = weak.lock();
    if (manager) use(*manager);
    return !manager;
  });
}

}  // namespace

LocationCore::LocationCore(const Options& options) : state_(std::make_shared<State>(options)) {}

LocationCore::~LocationCore() = default;

void LocationCore::hear(const Advertisement& advertisement, Instant now) {
  advance(now);
  const auto frame = IBeaconFrame::parse(advertisement);
  if (!frame) return;
  {
    const std::lock_guard lock(state_->mutex);
    forEach(state_->managers,
            [&](Manager& manager) { manager.hear(*frame, advertisement.rssi, state_->now); });
  }
  state_->deliver();
}

void LocationCore::locate(const CLLocation& position, Instant now) {
  advance(now);
  {
    const std::lock_guard lock(state_->mutex);
    forEach(state_->managers, [&](Manager& manager) { manager.locate(position); });
  }
  state_->deliver();
}

void LocationCore::setScanning(bool scanning, Instant now) {
  advance(now);
  const std::lock_guard lock(state_->mutex);
  state_->scanning = scanning;
  forEach(state_->managers, [&](Manager& manager) { manager.setScanning(scanning, state_->now); });
}

void LocationCore::setAuthorization(CLAuthorizationStatus status, bool servicesEnabled) {
  {
    const std::lock_guard lock(state_->mutex);
    state_->options.authorization = status;
    state_->options.servicesEnabled = servicesEnabled;
    forEach(state_->managers, [](Manager& manager) { manager.queueAuthorization(); });
  }
  state_->deliver();
}

void LocationCore::advance(Instant now) {
  state_->deliver();
  // Deadline by deadline: what a delegate does at one decides about the next.
  for (auto due = nextDeadline(); due && *due <= now; due = nextDeadline()) {
    {
      const std::lock_guard lock(state_->mutex);
      state_->now = std::max(state_->now, *due);
      forEach(state_->managers, [&](Manager& manager) { manager.advance(*due); });
    }
    state_->deliver();
  }
  const std::lock_guard lock(state_->mutex);
  state_->now = std::max(state_->now, now);
}

std::optional<Instant> LocationCore::nextDeadline() const {
  const std::lock_guard lock(state_->mutex);
  std::optional<Instant> earliest;
  forEach(state_->managers, [&](const Manager& manager) {
    const auto due = manager.deadline();
    if (due && (!earliest || *due < *earliest)) earliest = due;
  });
  return earliest;
}

std::int32_t LocationCore::authorizationStatus() const {
  const std::lock_guard lock(state_->mutex);
  return state_->options.authorization;
}

bool LocationCore::locationServicesEnabled() const {
  const std::lock_guard lock(state_->mutex);
  return state_->options.servicesEnabled;
}

std::shared_ptr<CLLocationManager> LocationCore::createManager() {
  auto manager = std::make_shared<Manager>(state_);
  const std::lock_guard lock(state_->mutex);
  state_->managers.push_back(manager);
  manager->queueAuthorization();
  return manager;
}

}  // namespace platform
