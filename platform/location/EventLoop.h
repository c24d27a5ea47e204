// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/Export.h"
#include "platform/location/Instant.h"

namespace platform {

/// The loop of events of one thread, on which live listening runs: what the radio hears and what
/// managers report happens there and nowhere else. A port wraps its platform's own loop.
class BRIVANE_EXPORT EventLoop {
 public:
  /// Calls back on the loop's thread when a time has come. Made, set and destroyed there.
  class BRIVANE_EXPORT Timer {
   public:
    virtual ~Timer() = default;
    /// Once, at `time`; at once, but not from inside this call, if that is past; never when absent.
    /// Replaces what was set.
    virtual void set(std::optional<Instant> time) = 0;
  };

  virtual ~EventLoop() = default;

  /// Calls `task` once, when the loop runs next, never from inside this call. Any thread. When the
  /// loop goes without having run, `task` is destroyed uncalled.
  virtual void post(std::function<void()> task) = 0;

  /// Calls `task` on the loop's thread: at once, inside this call, when that is the caller's, or
  /// when nobody runs the loop, where the platform can tell; else like `post`. Any thread.
  virtual void invoke(std::function<void()> task) = 0;

  /// A timer that calls `due`, unset.
  virtual std::unique_ptr<Timer> createTimer(std::function<void()> due) = 0;

  /// The time of the clock by which timers run. Any thread.
  virtual Instant now() const = 0;

  /// How long the device has slept in all, as far as `now` stood still meanwhile; zero where it
  /// never does. On the loop's thread.
  virtual Duration slept() const = 0;

  /// Equal for two objects that stand for the same loop, and for no others. Any thread.
  virtual const void* identity() const = 0;
};

}  // namespace platform
