// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/MainContext.h"

#include <chrono>
#include <ctime>
#include <utility>

namespace platform {
namespace {

using Task = std::function<void()>;

void destroyTask(gpointer task) { delete static_cast<Task*>(task); }

gboolean callTask(gpointer task) {
  (*static_cast<Task*>(task))();
  return G_SOURCE_REMOVE;
}

gboolean dispatchTimer(GSource* source, GSourceFunc callback, gpointer due) {
  g_source_set_ready_time(source, -1);
  callback(due);
  return G_SOURCE_CONTINUE;
}

GSourceFuncs timerFunctions = {nullptr, nullptr, dispatchTimer, nullptr, nullptr, nullptr};

}  // namespace

MainContext::MainContext(GMainContext* context) : context_(context, g_main_context_unref) {}

MainContext MainContext::ofThisThread() { return MainContext(g_main_context_ref_thread_default()); }

void MainContext::post(std::function<void()> task) {
  GSource* const source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(source, callTask, new Task(std::move(task)), destroyTask);
  g_source_attach(source, get());
  g_source_unref(source);
}

void MainContext::invoke(std::function<void()> task) {
  const auto context = context_;  // the task may destroy this
  if (g_main_context_acquire(context.get()) == FALSE) {
    post(std::move(task));  // another thread runs it, now
    return;
  }
  std::exchange(task, nullptr)();
  g_main_context_release(context.get());
}

Duration MainContext::slept() const {
  timespec sinceBoot{};
  clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
  const auto awakeOrNot =
      std::chrono::seconds(sinceBoot.tv_sec) + std::chrono::nanoseconds(sinceBoot.tv_nsec);
  return std::chrono::duration_cast<Duration>(awakeOrNot) - now().time_since_epoch();
}

std::unique_ptr<EventLoop::Timer> MainContext::createTimer(std::function<void()> due) {
  return std::make_unique<platform::Timer>(*this, std::move(due));
}

Timer::Timer(const MainContext& context, std::function<void()> due)
    : source_(g_source_new(&timerFunctions, sizeof(GSource))) {
  g_source_set_callback(source_, callTask, new Task(std::move(due)), destroyTask);
  g_source_attach(source_, context.get());
}

Timer::~Timer() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

void Timer::set(std::optional<Instant> time) {
  g_source_set_ready_time(source_, time ? time->time_since_epoch().count() : -1);
}

}  // namespace platform
