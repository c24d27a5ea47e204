// SPDX-License-Identifier: Apache-2.0

// How it works. Two kinds of calls come in: operations of managers, on any thread, and what feeds
// the core, on one thread. Both change the managers' tasks under one lock, `State::mutex`. A
// delegate is never called there: what there is to report goes into the queue, and the feeding call
// delivers it when it holds no lock. So a delegate may call every operation, drop its manager, and
// even feed the core again.
//
// An operation leaves the time alone: what it starts begins when time is fed next (`settle`). While
// nothing was changed and nothing is due, `advance` only moves the time (`passQuietly`), because
// most frames come in a quiet time.

#include "platform/location/LocationCore.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/Mutex.h"
#include "platform/location/IBeaconFrame.h"
#include "platform/location/ManagerTasks.h"
#include "platform/location/ReportQueue.h"

namespace platform {

/// What managers and the feeding thread share.
struct LocationCore::State {
  explicit State(Options settings) : options(std::move(settings)), reports(options.log) {}

  /// Moves the time, if that is all there is to do until then; false if not.
  bool passQuietly(Instant to) BRIVANE_EXCLUDES(mutex);
  /// Begins what was started, and finds out when something will be due.
  void settle() BRIVANE_EXCLUDES(mutex);
  void begin() BRIVANE_REQUIRES(mutex);
  std::optional<Instant> earliestDeadline() const BRIVANE_REQUIRES(mutex);

  const Options options;
  ReportQueue reports;
  mutable Mutex mutex;
  Instant now BRIVANE_GUARDED_BY(mutex){};
  bool scanning BRIVANE_GUARDED_BY(mutex) = true;
  /// Of the managers that are there.
  std::vector<std::shared_ptr<ManagerTasks>> tasks BRIVANE_GUARDED_BY(mutex);
  /// Counts what may have put something else on the agenda, and how much of it `settle` has seen.
  std::uint64_t changes BRIVANE_GUARDED_BY(mutex) = 1;
  std::uint64_t settled BRIVANE_GUARDED_BY(mutex) = 0;
  /// When something is due, as it was when `settle` looked. Written there alone.
  std::optional<Instant> deadline BRIVANE_GUARDED_BY(mutex);
};

bool LocationCore::State::passQuietly(Instant to) {
  const MutexLock lock(mutex);
  if (settled != changes || !reports.isEmpty() || (deadline && *deadline <= to)) return false;
  now = std::max(now, to);
  return true;
}

void LocationCore::State::settle() {
  const MutexLock lock(mutex);
  begin();
  deadline = earliestDeadline();
  settled = changes;
}

void LocationCore::State::begin() {
  for (const auto& each : tasks) each->begin({now, options.exitPeriod, scanning});
}

std::optional<Instant> LocationCore::State::earliestDeadline() const {
  std::optional<Instant> earliest;
  for (const auto& each : tasks) earliest = earlier(earliest, each->deadline());
  return earliest;
}

/// The operations of a manager. What it was asked for stands in its tasks.
class LocationCore::Manager final : public ReportQueue::Manager,
                                    public std::enable_shared_from_this<Manager> {
 public:
  explicit Manager(std::shared_ptr<State> state) : state_(std::move(state)) {}

  ~Manager() override {
    {
      const MutexLock lock(state_->mutex);
      std::erase(state_->tasks, tasks_);
      ++state_->changes;
    }
    if (state_->options.onOperation) state_->options.onOperation();
  }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;

  /// Once, when somebody owns it.
  void begin() {
    tasks_ = std::make_shared<ManagerTasks>(weak_from_this(), state_->reports);
    const MutexLock lock(state_->mutex);
    state_->tasks.push_back(tasks_);
    ++state_->changes;
    tasks_->tellPermission(state_->options.permission);
  }

  std::shared_ptr<CLLocationManagerDelegate> delegate() const override {
    const MutexLock lock(state_->mutex);
    return delegate_.lock();
  }

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override {
    {
      const MutexLock lock(state_->mutex);
      delegate_ = std::move(delegate);
    }
    operate([](ManagerTasks& /*tasks*/) {});
  }

  bool offersRequestAlwaysAuthorization() const override {
    return state_->options.offersRequestAlwaysAuthorization;
  }
  void requestAlwaysAuthorization() override {
    operate([](ManagerTasks& tasks) { tasks.askForAuthorization(); });
  }

  void startMonitoringForRegion(ManagerTasks::Region region) override {
    operate([&region](ManagerTasks& tasks) { tasks.monitor(region); });
  }
  void stopMonitoringForRegion(const CLBeaconRegion& region) override {
    operate([&region](ManagerTasks& tasks) { tasks.stopMonitoring(region); });
  }
  void requestStateForRegion(ManagerTasks::Region region) override {
    operate([this, &region](ManagerTasks& tasks) {
      tasks.answerLater([this, region](auto& delegate, auto& manager) {
        delegate.locationManager_didDetermineState_forRegion(manager, stateOf(*region), *region);
      });
    });
  }
  void startRangingBeaconsInRegion(ManagerTasks::Region region) override {
    operate([&region](ManagerTasks& tasks) { tasks.range(region); });
  }
  void stopRangingBeaconsInRegion(const CLBeaconRegion& region) override {
    operate([&region](ManagerTasks& tasks) { tasks.stopRanging(region); });
  }

  void setDesiredAccuracy(double accuracy) override {
    operate([accuracy](ManagerTasks& tasks) { tasks.setAccuracy(accuracy); });
  }
  void setDistanceFilter(double distance) override {
    operate([distance](ManagerTasks& tasks) { tasks.setDistanceFilter(distance); });
  }
  void startUpdatingLocation() override {
    operate([](ManagerTasks& tasks) { tasks.startUpdating(); });
  }
  void stopUpdatingLocation() override {
    operate([](ManagerTasks& tasks) { tasks.stopUpdating(); });
  }

 private:
  template <typename Change>
  void operate(const Change& change) {
    {
      const MutexLock lock(state_->mutex);
      change(*tasks_);
      ++state_->changes;
    }
    if (state_->options.onOperation) state_->options.onOperation();
  }

  CLRegionState stateOf(const CLBeaconRegion& region) const {
    const MutexLock lock(state_->mutex);
    return tasks_->stateOf(region);
  }

  const std::shared_ptr<State> state_;
  /// Used under the core's lock alone.
  std::shared_ptr<ManagerTasks> tasks_;
  std::weak_ptr<CLLocationManagerDelegate> delegate_ BRIVANE_GUARDED_BY(state_->mutex);
};

LocationCore::LocationCore(Options options) : state_(std::make_shared<State>(std::move(options))) {}

LocationCore::~LocationCore() = default;

void LocationCore::hear(const Advertisement& advertisement, Instant heard) {
  advance(heard);
  const auto frame = IBeaconFrame::parse(advertisement);
  if (!frame) return;
  {
    const MutexLock lock(state_->mutex);
    state_->begin();  // what another thread started since the time was fed
    for (const auto& each : state_->tasks) {
      each->hear(*frame, advertisement.rssi, heard, state_->now);
    }
    if (state_->reports.isEmpty()) return;
    ++state_->changes;
  }
  state_->reports.deliver();
  state_->settle();
}

void LocationCore::locate(const CLLocation& position, Instant now) {
  advance(now);
  {
    const MutexLock lock(state_->mutex);
    for (const auto& each : state_->tasks) each->locate(position);
  }
  state_->reports.deliver();
  state_->settle();
}

void LocationCore::setScanning(bool scanning, Instant now) {
  advance(now);
  const MutexLock lock(state_->mutex);
  state_->scanning = scanning;
  state_->begin();
  for (const auto& each : state_->tasks) each->setScanning(scanning, state_->now);
  ++state_->changes;
}

void LocationCore::sleep(Duration time) {
  const MutexLock lock(state_->mutex);
  for (const auto& each : state_->tasks) each->sleep(time);
  ++state_->changes;
}

void LocationCore::tellPermission() {
  {
    const MutexLock lock(state_->mutex);
    for (const auto& each : state_->tasks) each->tellPermission(state_->options.permission);
  }
  state_->reports.deliver();
}

void LocationCore::failBeacons(const std::string& error) {
  {
    const MutexLock lock(state_->mutex);
    for (const auto& each : state_->tasks) each->failBeacons(error);
  }
  state_->reports.deliver();
}

void LocationCore::failPositions(const std::string& error) {
  {
    const MutexLock lock(state_->mutex);
    for (const auto& each : state_->tasks) each->failPositions(error);
  }
  state_->reports.deliver();
}

void LocationCore::advance(Instant now) {
  if (state_->passQuietly(now)) return;
  state_->reports.deliver();
  // Deadline by deadline: what a delegate does at one decides about the next.
  for (auto due = nextDeadline(); due && *due <= now; due = nextDeadline()) {
    {
      const MutexLock lock(state_->mutex);
      state_->now = std::max(state_->now, *due);
      for (const auto& each : state_->tasks) each->advance(*due);
      ++state_->changes;
    }
    state_->reports.deliver();
    state_->settle();
  }
  {
    const MutexLock lock(state_->mutex);
    state_->now = std::max(state_->now, now);
  }
  state_->settle();
}

LocationCore::Wanted LocationCore::wanted() const {
  const MutexLock lock(state_->mutex);
  Wanted wanted;
  for (const auto& each : state_->tasks) each->addTo(wanted);
  return wanted;
}

std::optional<Instant> LocationCore::nextDeadline() const {
  const MutexLock lock(state_->mutex);
  return state_->settled == state_->changes ? state_->deadline : state_->earliestDeadline();
}

std::int32_t LocationCore::authorizationStatus() const {
  return state_->options.permission().status;
}

bool LocationCore::locationServicesEnabled() const {
  return state_->options.permission().servicesEnabled;
}

std::shared_ptr<CLLocationManager> LocationCore::createManager() {
  auto manager = std::make_shared<Manager>(state_);
  manager->begin();
  return manager;
}

}  // namespace platform
