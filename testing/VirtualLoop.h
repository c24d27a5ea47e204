// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>

#include "platform/Export.h"
#include "platform/location/EventLoop.h"
#include "platform/location/Instant.h"

namespace brivane::testing {

/// An event loop whose time passes when a test says so, and at once: an hour takes no longer than
/// what happens in it. Its thread is that which calls `advance`.
class BRIVANE_EXPORT VirtualLoop final : public platform::EventLoop {
 public:
  VirtualLoop();
  ~VirtualLoop() override;
  VirtualLoop(const VirtualLoop&) = delete;
  VirtualLoop& operator=(const VirtualLoop&) = delete;

  /// Runs what is posted and the timers that are due, each at its time and in the order of times,
  /// until `time` has passed. May be called from inside a task, as by a host that runs a loop in a
  /// callback.
  void advance(platform::Duration time);

  /// Lets time pass while nobody runs the loop, as when the application blocks it.
  void block(platform::Duration time);

  /// Has the device sleep for `time`, while the clock stands still.
  void sleep(platform::Duration time);

  void post(std::function<void()> task) override;
  void invoke(std::function<void()> task) override;
  std::unique_ptr<Timer> createTimer(std::function<void()> due) override;
  platform::Instant now() const override;
  platform::Duration slept() const override;
  const void* identity() const override { return this; }

 private:
  class VirtualTimer;
  struct State;

  const std::shared_ptr<State> state_;
};

}  // namespace brivane::testing
