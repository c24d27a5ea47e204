// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/ReplayClock.h"

#include <algorithm>
#include <utility>

namespace platform {
namespace {

/// Longer than anybody waits, and short enough to be added to any time.
constexpr std::chrono::duration<double> kForever(1e9);

}  // namespace

ReplayClock::ReplayClock(std::optional<double> speed, std::function<void()> waitUntilIdle)
    : speed_(speed), waitUntilIdle_(std::move(waitUntilIdle)) {}

bool ReplayClock::moveTo(Instant time) {
  if (!speed_ && !stopped_ && time > now() && waitUntilIdle_) waitUntilIdle_();
  std::unique_lock lock(mutex_);
  if (speed_) {
    if (!began_) began_ = Real::now();
    const auto pause =
        std::min(std::chrono::duration<double>(time.time_since_epoch()) / *speed_, kForever);
    const auto due = *began_ + std::chrono::duration_cast<Real::duration>(pause);
    stop_.wait_until(lock, due, [this] { return stopped_.load(); });
  }
  if (stopped_) return false;
  now_ = std::max(now(), time);
  return true;
}

void ReplayClock::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  stop_.notify_all();
}

}  // namespace platform
