// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/location/EventLoop.h"
#include "platform/location/Instant.h"

namespace platform {

/// Time on the clock by which GLib wakes: monotonic, and it stands still while the device sleeps.
inline Instant monotonicNow() { return Instant(Duration(g_get_monotonic_time())); }

/// A GLib main context, held as long as this lives. A copy stands for the same.
class MainContext final : public EventLoop {
 public:
  /// The default of the calling thread: what an application's main loop runs there.
  static MainContext ofThisThread();

  GMainContext* get() const { return context_.get(); }

  void post(std::function<void()> task) override;
  void invoke(std::function<void()> task) override;
  std::unique_ptr<EventLoop::Timer> createTimer(std::function<void()> due) override;
  Instant now() const override { return monotonicNow(); }
  Duration slept() const override;
  const void* identity() const override { return get(); }

 private:
  explicit MainContext(GMainContext* context);

  std::shared_ptr<GMainContext> context_;
};

/// Makes a context its thread's default while it lives, so that what is begun meanwhile answers
/// there. On the context's own thread.
class ThreadDefault {
 public:
  explicit ThreadDefault(MainContext context) : context_(std::move(context)) {
    g_main_context_push_thread_default(context_.get());
  }
  ~ThreadDefault() { g_main_context_pop_thread_default(context_.get()); }
  ThreadDefault(const ThreadDefault&) = delete;
  ThreadDefault& operator=(const ThreadDefault&) = delete;

 private:
  const MainContext context_;
};

/// A timer on a context.
class Timer final : public EventLoop::Timer {
 public:
  Timer(const MainContext& context, std::function<void()> due);
  ~Timer() override;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  void set(std::optional<Instant> time) override;

 private:
  GSource* const source_;
};

}  // namespace platform
