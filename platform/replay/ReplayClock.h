// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

#include "platform/Export.h"
#include "platform/location/Instant.h"

namespace platform {

/// The virtual clock of a replay. It moves when it is told to: after the real time that the pace
/// asks for, or, at full speed, as soon as nothing is under way any more.
class BRIVANE_EXPORT ReplayClock {
 public:
  /// `speed`: virtual seconds a real second; absent for full speed, where `waitUntilIdle`, which
  /// may be empty, is called before each move.
  ReplayClock(std::optional<double> speed, std::function<void()> waitUntilIdle);

  /// Any thread.
  Instant now() const { return now_.load(); }

  /// Moves to `time`, or nowhere when the clock is stopped first; false then. One thread.
  bool moveTo(Instant time);

  /// Ends the present move and all later ones. Any thread.
  void stop();

 private:
  using Real = std::chrono::steady_clock;

  const std::optional<double> speed_;
  const std::function<void()> waitUntilIdle_;
  std::atomic<Instant> now_ = Instant();
  std::optional<Real::time_point> began_;
  std::mutex mutex_;
  std::condition_variable stop_;
  std::atomic<bool> stopped_ = false;
};

}  // namespace platform
