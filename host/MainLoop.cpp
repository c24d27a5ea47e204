// SPDX-License-Identifier: Apache-2.0
#include "host/MainLoop.h"

#include <glib.h>

#include <algorithm>

namespace host {
namespace {

gboolean expire(gpointer expired) {
  *static_cast<bool*>(expired) = true;
  return G_SOURCE_REMOVE;
}

}  // namespace

bool MainLoop::runUntil(const std::function<bool()>& done, std::optional<double> limit) const {
  bool expired = false;
  GSource* timer = nullptr;
  if (limit) {
    const double milliseconds = std::min(*limit * 1000.0, 4e9);
    timer = g_timeout_source_new(static_cast<guint>(milliseconds));
    g_source_set_callback(timer, expire, &expired, nullptr);
    g_source_attach(timer, nullptr);
  }
  bool isDone = done();
  while (!isDone && !expired) {
    g_main_context_iteration(nullptr, TRUE);
    isDone = done();
  }
  if (timer != nullptr) {
    g_source_destroy(timer);
    g_source_unref(timer);
  }
  return isDone;
}

void MainLoop::wake() const { g_main_context_wakeup(nullptr); }

}  // namespace host
