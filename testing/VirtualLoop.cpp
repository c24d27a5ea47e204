// SPDX-License-Identifier: Apache-2.0
#include "testing/VirtualLoop.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Mutex.h"

namespace brivane::testing {

using platform::Duration;
using platform::Instant;
using platform::MutexLock;

/// Outlived by no timer: each holds it.
struct VirtualLoop::State {
  /// Calls what is posted, also what that posts; true when there was something.
  void runTasks() {
    for (MutexLock lock(mutex); !tasks.empty(); lock.lock()) {
      auto task = std::move(tasks.front());
      tasks.pop_front();
      lock.unlock();
      std::exchange(task, nullptr)();
    }
  }

  Instant time() {
    const MutexLock lock(mutex);
    return now;
  }
  void setTime(Instant time) {
    const MutexLock lock(mutex);
    now = std::max(now, time);
  }

  platform::Mutex mutex;
  std::deque<std::function<void()>> tasks BRIVANE_GUARDED_BY(mutex);
  Instant now BRIVANE_GUARDED_BY(mutex);
  Duration slept BRIVANE_GUARDED_BY(mutex){};
  /// Who runs the loop, and how many times one inside another.
  std::thread::id runner BRIVANE_GUARDED_BY(mutex);
  int depth BRIVANE_GUARDED_BY(mutex) = 0;
  /// On the loop's thread, in the order in which they were made.
  std::vector<VirtualTimer*> timers;
};

class VirtualLoop::VirtualTimer final : public Timer {
 public:
  VirtualTimer(std::shared_ptr<State> state, std::function<void()> due)
      : state_(std::move(state)), due_(std::make_shared<std::function<void()>>(std::move(due))) {
    state_->timers.push_back(this);
  }
  ~VirtualTimer() override { std::erase(state_->timers, this); }
  VirtualTimer(const VirtualTimer&) = delete;
  VirtualTimer& operator=(const VirtualTimer&) = delete;

  void set(std::optional<Instant> time) override { time_ = time; }
  Instant time() const { return time_.value_or(Instant::max()); }

  void fire() {
    time_.reset();
    const auto due = due_;  // the call may destroy this
    (*due)();
  }

 private:
  const std::shared_ptr<State> state_;
  const std::shared_ptr<const std::function<void()>> due_;
  std::optional<Instant> time_;
};

VirtualLoop::VirtualLoop() : state_(std::make_shared<State>()) {}

VirtualLoop::~VirtualLoop() {
  MutexLock lock(state_->mutex);
  const auto uncalled = std::exchange(state_->tasks, {});
  lock.unlock();
}

void VirtualLoop::advance(Duration time) {
  const auto state = state_;
  const Instant end = state->time() + time;
  {
    const MutexLock lock(state->mutex);
    state->runner = std::this_thread::get_id();
    ++state->depth;
  }
  for (;;) {
    state->runTasks();
    const auto first = std::ranges::min_element(state->timers, {}, &VirtualTimer::time);
    if (first == state->timers.end() || (*first)->time() > end) break;
    state->setTime((*first)->time());
    (*first)->fire();
  }
  state->setTime(end);
  const MutexLock lock(state->mutex);
  --state->depth;
}

void VirtualLoop::block(Duration time) { state_->setTime(now() + time); }

void VirtualLoop::sleep(Duration time) {
  const MutexLock lock(state_->mutex);
  state_->slept += time;
}

void VirtualLoop::post(std::function<void()> task) {
  const MutexLock lock(state_->mutex);
  state_->tasks.push_back(std::move(task));
}

void VirtualLoop::invoke(std::function<void()> task) {
  MutexLock lock(state_->mutex);
  if (state_->depth > 0 && state_->runner != std::this_thread::get_id()) {
    state_->tasks.push_back(std::move(task));
    return;
  }
  lock.unlock();
  task();
}

std::unique_ptr<platform::EventLoop::Timer> VirtualLoop::createTimer(std::function<void()> due) {
  return std::make_unique<VirtualTimer>(state_, std::move(due));
}

Instant VirtualLoop::now() const { return state_->time(); }

Duration VirtualLoop::slept() const {
  const MutexLock lock(state_->mutex);
  return state_->slept;
}

}  // namespace brivane::testing
