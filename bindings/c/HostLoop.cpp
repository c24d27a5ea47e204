// SPDX-License-Identifier: Apache-2.0
#include "bindings/c/HostLoop.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

#include "bindings/c/Failure.h"

namespace brivane::internal {

using platform::Duration;
using platform::Instant;
using platform::MutexLock;

class HostLoop::HostTimer final : public Timer {
 public:
  HostTimer(std::shared_ptr<HostLoop> loop, std::function<void()> due)
      : loop_(std::move(loop)), due_(std::move(due)) {
    const MutexLock lock(loop_->mutex_);
    loop_->timers_.push_back(this);
  }
  ~HostTimer() override {
    const MutexLock lock(loop_->mutex_);
    std::erase(loop_->timers_, this);
  }
  HostTimer(const HostTimer&) = delete;
  HostTimer& operator=(const HostTimer&) = delete;

  void set(std::optional<Instant> time) override { time_ = time; }
  Instant time() const { return time_.value_or(Instant::max()); }
  /// What it is there for, once.
  std::function<void()> take() {
    time_.reset();
    return due_;
  }

 private:
  const std::shared_ptr<HostLoop> loop_;
  const std::function<void()> due_;
  std::optional<Instant> time_;
};

std::optional<Duration> HostLoop::run() {
  thread_ = std::this_thread::get_id();
  // What comes from other threads meanwhile must not keep the host here for ever.
  constexpr int kMost = 1000;
  for (int i = 0; i < kMost; ++i) {
    const auto task = next();
    if (!task) break;
    quietly(task);
  }
  const Instant present = now();
  const MutexLock lock(mutex_);
  if (!tasks_.empty()) return Duration::zero();
  Instant first = Instant::max();
  for (const HostTimer* timer : timers_) first = std::min(first, timer->time());
  if (first == Instant::max()) return std::nullopt;
  return std::max(first - present, Duration::zero());
}

std::function<void()> HostLoop::next() {
  const Instant present = now();
  const MutexLock lock(mutex_);
  if (!tasks_.empty()) {
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
  }
  const auto first = std::ranges::min_element(timers_, {}, &HostTimer::time);
  return first != timers_.end() && (*first)->time() <= present ? (*first)->take() : nullptr;
}

bool HostLoop::isOnThread() const {
  const std::thread::id thread = thread_;
  return thread == std::thread::id() || thread == std::this_thread::get_id();
}

void HostLoop::post(std::function<void()> task) {
  {
    const MutexLock lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  host_.wake(host_.user);
}

void HostLoop::invoke(std::function<void()> task) { isOnThread() ? task() : post(std::move(task)); }

std::unique_ptr<platform::EventLoop::Timer> HostLoop::createTimer(std::function<void()> due) {
  return std::make_unique<HostTimer>(shared_from_this(), std::move(due));
}

Instant HostLoop::now() const {
  if (host_.now) return Instant(Duration(host_.now(host_.user)));
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return Instant(std::chrono::duration_cast<Duration>(time));
}

Duration HostLoop::slept() const { return Duration(host_.slept ? host_.slept(host_.user) : 0); }

}  // namespace brivane::internal
