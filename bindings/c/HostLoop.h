// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "bindings/c/brivane.h"
#include "platform/Mutex.h"
#include "platform/location/EventLoop.h"
#include "platform/location/Instant.h"

namespace brivane::internal {

/// The host's loop of events: keeps what is to be done until the host runs it.
class HostLoop final : public platform::EventLoop, public std::enable_shared_from_this<HostLoop> {
 public:
  explicit HostLoop(const brivane_live_host& host) : host_(host) {}

  /// Runs what waits and the timers that are due. Returns how long nothing will be; absent for
  /// until it is woken.
  std::optional<platform::Duration> run();

  /// Whether the caller's is the thread that runs it, or nobody has run it yet.
  bool isOnThread() const;

  void post(std::function<void()> task) override;
  void invoke(std::function<void()> task) override;
  std::unique_ptr<Timer> createTimer(std::function<void()> due) override;
  platform::Instant now() const override;
  platform::Duration slept() const override;
  const void* identity() const override { return this; }

 private:
  class HostTimer;

  /// The next task, or the next timer that is due by now; empty when there is none.
  std::function<void()> next();

  const brivane_live_host host_;
  std::atomic<std::thread::id> thread_;
  platform::Mutex mutex_;
  std::deque<std::function<void()>> tasks_ BRIVANE_GUARDED_BY(mutex_);
  std::vector<HostTimer*> timers_ BRIVANE_GUARDED_BY(mutex_);
};

}  // namespace brivane::internal
