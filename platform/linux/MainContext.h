#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/location/Instant.h"

namespace platform {

/// Time on the clock by which GLib wakes: monotonic, and it stands still while the device sleeps.
inline Instant monotonicNow() { return Instant(Duration(g_get_monotonic_time())); }

/// A GLib main context, held as long as this lives.
class MainContext {
 public:
  /// The default of the calling thread: what an application's main loop runs there.
  static MainContext ofThisThread();

  GMainContext* get() const { return context_.get(); }

  /// Calls `deed` once, when the context runs next, never at once. Any thread. When the context
  /// goes without having run, `deed` is destroyed uncalled.
  void post(std::function<void()> deed) const;

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

/// Calls back on a context when its time has come.
class Timer {
 public:
  Timer(const MainContext& context, std::function<void()> due);
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  /// Once, at `time` on the monotonic clock; absent for never. Replaces what was set.
  void set(std::optional<Instant> time);

 private:
  GSource* const source_;
};

}  // namespace platform
