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

// What runs for one region; absent until the time is known at which it began.

struct Monitored {
  Region region;
  std::optional<RegionMonitor> monitor;
};

struct Ranged {
  Region region;
  std::optional<RangingWindow> window;
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

  explicit State(Options settings) : options(std::move(settings)) {}

  /// Delivers what is queued, also what comes to it meanwhile. Without the lock.
  void deliver();
  /// Begins what was started, now. Without the lock.
  void begin();
  /// Moves the time, if that is all there is to do until then; false if not. Without the lock.
  bool passQuietly(Instant to);
  /// The earliest of the managers' deadlines. Under the lock.
  std::optional<Instant> deadline();

  mutable std::mutex mutex;
  Options options;
  Instant now{};
  /// Nothing is due before this: most frames change nothing, so that most times only pass. In the
  /// past while something may have changed.
  Instant quietUntil = Instant::min();
  bool scanning = true;
  std::vector<std::weak_ptr<Manager>> managers;
  std::deque<Report> reports;
};

/// One operation of a manager: holds the lock, then tells of it.
class LocationCore::Operation {
 public:
  explicit Operation(State& state) : state_(state), lock_(state.mutex) {
    state_.quietUntil = Instant::min();
  }
  ~Operation() {
    lock_.unlock();
    if (state_.options.onOperation) state_.options.onOperation();
  }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

 private:
  State& state_;
  std::unique_lock<std::mutex> lock_;
};

class LocationCore::Manager final : public CLLocationManager,
                                    public std::enable_shared_from_this<Manager> {
 public:
  explicit Manager(std::shared_ptr<State> state) : state_(std::move(state)) {}

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override {
    const Operation operation(*state_);
    delegate_ = std::move(delegate);
  }

  bool offersRequestAlwaysAuthorization() const override {
    return static_cast<bool>(state_->options.onOperation);
  }

  void requestAlwaysAuthorization() override {
    const Operation operation(*state_);
    wantsAuthorization_ = true;
  }

  void startMonitoringForRegion(Region region) override {
    const Operation operation(*state_);
    const std::string& identifier = region->identifier();
    monitored_[identifier] = std::make_shared<Monitored>(Monitored{region, std::nullopt});
  }

  void stopMonitoringForRegion(const CLBeaconRegion& region) override {
    const Operation operation(*state_);
    monitored_.erase(region.identifier());
  }

  void requestStateForRegion(Region region) override {
    const Operation operation(*state_);
    queue(shared_from_this(), [this, region](auto& delegate, auto& manager) {
      delegate.locationManager_didDetermineState_forRegion(manager, stateOf(*region), *region);
    });
  }

  void startRangingBeaconsInRegion(Region region) override {
    const Operation operation(*state_);
    auto& ranged = ranged_[region->identifier()];
    // A region that is ranged already goes on in its rhythm.
    if (!ranged) ranged = std::make_shared<Ranged>(Ranged{region, std::nullopt});
  }

  void stopRangingBeaconsInRegion(const CLBeaconRegion& region) override {
    const Operation operation(*state_);
    ranged_.erase(region.identifier());
  }

  void setDesiredAccuracy(double accuracy) override {
    const Operation operation(*state_);
    accuracy_ = accuracy;
  }

  void setDistanceFilter(double distance) override {
    const Operation operation(*state_);
    filter_.setDistance(distance);
  }

  void startUpdatingLocation() override {
    const Operation operation(*state_);
    if (updating_) return;
    filter_.reset();
    updating_ = std::make_shared<bool>(true);
  }

  void stopUpdatingLocation() override {
    const Operation operation(*state_);
    updating_.reset();
  }

  // The rest is called by the core.

  std::shared_ptr<CLLocationManagerDelegate> delegate() const {
    const std::lock_guard lock(state_->mutex);
    return delegate_.lock();
  }

  // Under the lock.

  void queueAuthorization() {
    queue(shared_from_this(), [this](auto& delegate, auto& manager) {
      std::unique_lock lock(state_->mutex);
      const std::int32_t status = state_->options.authorization;
      lock.unlock();
      delegate.locationManager_didChangeAuthorizationStatus(manager, status);
    });
  }

  void addTo(Wanted& wanted) const {
    for (const auto& [identifier, monitored] : monitored_) {
      wanted.beacons.insert(monitored->region->proximityUUID());
    }
    for (const auto& [identifier, ranged] : ranged_) {
      wanted.beacons.insert(ranged->region->proximityUUID());
    }
    wanted.authorization = wanted.authorization || wantsAuthorization_;
    if (!updating_) return;
    wanted.accuracy = wanted.positions ? std::min(wanted.accuracy, accuracy_) : accuracy_;
    wanted.positions = true;
  }

  void begin() {
    for (const auto& [identifier, monitored] : monitored_) {
      if (monitored->monitor) continue;
      monitored->monitor.emplace(state_->now, state_->options.exitPeriod, state_->scanning);
    }
    for (const auto& [identifier, ranged] : ranged_) {
      if (!ranged->window) ranged->window.emplace(ranged->region->proximityUUID(), state_->now);
    }
  }

  void failBeacons(const std::string& error) {
    for (const auto& [identifier, ranged] : ranged_) {
      queue(ranged, [region = ranged->region, error](auto& delegate, auto& manager) {
        delegate.locationManager_rangingBeaconsDidFailForRegion_withError(manager, *region, error);
      });
    }
    if (!ranged_.empty()) return;
    for (const auto& [identifier, monitored] : monitored_) {
      queue(monitored, [region = monitored->region, error](auto& delegate, auto& manager) {
        delegate.locationManager_monitoringDidFailForRegion_withError(manager, *region, error);
      });
    }
  }

  void failPositions(const std::string& error) {
    if (!updating_) return;
    queue(updating_, [error](auto& delegate, auto& manager) {
      delegate.locationManager_didFailWithError(manager, error);
    });
  }

  void hear(const IBeaconFrame& frame, int rssi, Instant now) {
    begin();  // what another thread started since the time was fed
    for (const auto& [identifier, monitored] : monitored_) {
      if (monitored->region->proximityUUID() == frame.proximityUUID) {
        queueChange(monitored, monitored->monitor->hear(now));
      }
    }
    for (const auto& [identifier, ranged] : ranged_) {
      if (ranged->region->proximityUUID() == frame.proximityUUID) {
        ranged->window->hear(frame, rssi, now);
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
    begin();
    for (const auto& [identifier, monitored] : monitored_) {
      monitored->monitor->setScanning(scanning, now);
    }
  }

  std::optional<Instant> deadline() const {
    std::optional<Instant> earliest;
    for (const auto& [identifier, monitored] : monitored_) {
      if (monitored->monitor) earliest = earlier(earliest, monitored->monitor->deadline());
    }
    for (const auto& [identifier, ranged] : ranged_) {
      if (ranged->window) earliest = earlier(earliest, ranged->window->deadline());
    }
    return earliest;
  }

  void advance(Instant now) {
    for (const auto& [identifier, monitored] : monitored_) {
      if (monitored->monitor) queueChange(monitored, monitored->monitor->advance(now));
    }
    for (const auto& [identifier, ranged] : ranged_) {
      if (!ranged->window || ranged->window->deadline() > now) continue;
      queue(ranged, [region = ranged->region, beacons = ranged->window->report()](auto& delegate,
                                                                                  auto& manager) {
        delegate.locationManager_didRangeBeacons_inRegion(manager, beacons, *region);
      });
    }
  }

 private:
  CLRegionState stateOf(const CLBeaconRegion& region) const {
    const std::lock_guard lock(state_->mutex);
    const auto found = monitored_.find(region.identifier());
    return found == monitored_.end() || !found->second->monitor ? kCLRegionStateUnknown
                                                                : found->second->monitor->state();
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
    queue(monitored, [region, state = monitored->monitor->state()](auto& delegate, auto& manager) {
      delegate.locationManager_didDetermineState_forRegion(manager, state, *region);
    });
  }

  const std::shared_ptr<State> state_;
  bool wantsAuthorization_ = false;
  double accuracy_ = kCLLocationAccuracyNearestTenMeters;
  std::weak_ptr<CLLocationManagerDelegate> delegate_;
  std::map<std::string, std::shared_ptr<Monitored>> monitored_;
  std::map<std::string, std::shared_ptr<Ranged>> ranged_;
  PositionFilter filter_;
  std::shared_ptr<const bool> updating_;  // there while positions are wanted
};

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

void LocationCore::State::begin() {
  const std::lock_guard lock(mutex);
  forEach(managers, [](Manager& manager) { manager.begin(); });
  quietUntil = reports.empty() ? deadline().value_or(Instant::max()) : Instant::min();
}

std::optional<Instant> LocationCore::State::deadline() {
  std::optional<Instant> earliest;
  forEach(managers,
          [&](const Manager& manager) { earliest = earlier(earliest, manager.deadline()); });
  return earliest;
}

bool LocationCore::State::passQuietly(Instant to) {
  const std::lock_guard lock(mutex);
  if (to >= quietUntil) return false;
  now = std::max(now, to);
  return true;
}

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
    if (state_->reports.empty()) return;
  }
  state_->deliver();
  state_->begin();
}

void LocationCore::locate(const CLLocation& position, Instant now) {
  advance(now);
  {
    const std::lock_guard lock(state_->mutex);
    forEach(state_->managers, [&](Manager& manager) { manager.locate(position); });
  }
  state_->deliver();
  state_->begin();
}

void LocationCore::setScanning(bool scanning, Instant now) {
  advance(now);
  const std::lock_guard lock(state_->mutex);
  state_->scanning = scanning;
  state_->quietUntil = Instant::min();
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

void LocationCore::failBeacons(const std::string& error) {
  {
    const std::lock_guard lock(state_->mutex);
    forEach(state_->managers, [&error](Manager& manager) { manager.failBeacons(error); });
  }
  state_->deliver();
}

void LocationCore::failPositions(const std::string& error) {
  {
    const std::lock_guard lock(state_->mutex);
    forEach(state_->managers, [&error](Manager& manager) { manager.failPositions(error); });
  }
  state_->deliver();
}

void LocationCore::advance(Instant now) {
  if (state_->passQuietly(now)) return;
  state_->deliver();
  // Deadline by deadline: what a delegate does at one decides about the next.
  for (auto due = nextDeadline(); due && *due <= now; due = nextDeadline()) {
    {
      const std::lock_guard lock(state_->mutex);
      state_->now = std::max(state_->now, *due);
      forEach(state_->managers, [&](Manager& manager) { manager.advance(*due); });
    }
    state_->deliver();
    state_->begin();
  }
  {
    const std::lock_guard lock(state_->mutex);
    state_->now = std::max(state_->now, now);
  }
  state_->begin();
}

LocationCore::Wanted LocationCore::wanted() const {
  const std::lock_guard lock(state_->mutex);
  Wanted wanted;
  forEach(state_->managers, [&wanted](const Manager& manager) { manager.addTo(wanted); });
  return wanted;
}

std::optional<Instant> LocationCore::nextDeadline() const {
  const std::lock_guard lock(state_->mutex);
  if (state_->quietUntil == Instant::max()) return std::nullopt;
  if (state_->quietUntil != Instant::min()) return state_->quietUntil;
  return state_->deadline();
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
  state_->quietUntil = Instant::min();
  manager->queueAuthorization();
  return manager;
}

}  // namespace platform
