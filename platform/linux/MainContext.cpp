#include "platform/linux/MainContext.h"

#include <utility>

namespace platform {
namespace {

using Deed = std::function<void()>;

void destroyDeed(gpointer deed) { delete static_cast<Deed*>(deed); }

gboolean callDeed(gpointer deed) {
  (*static_cast<Deed*>(deed))();
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

void MainContext::post(std::function<void()> deed) const {
  GSource* const source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(source, callDeed, new Deed(std::move(deed)), destroyDeed);
  g_source_attach(source, get());
  g_source_unref(source);
}

Timer::Timer(const MainContext& context, std::function<void()> due)
    : source_(g_source_new(&timerFunctions, sizeof(GSource))) {
  g_source_set_callback(source_, callDeed, new Deed(std::move(due)), destroyDeed);
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
