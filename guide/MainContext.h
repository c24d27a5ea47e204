// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <functional>
#include <utility>

#include "platform/location/Instant.h"

namespace guide {

/// The time on the clock of GLib's timers.
inline platform::Instant monotonicNow() {
  return platform::Instant(platform::Duration(g_get_monotonic_time()));
}

/// Runs `task` soon on the main context, after all that was given before it. Any thread.
inline void post(std::function<void()> task) {
  using Task = std::function<void()>;
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        (*static_cast<Task*>(data))();
        return G_SOURCE_REMOVE;
      },
      new Task(std::move(task)), [](gpointer data) { delete static_cast<Task*>(data); });
}

}  // namespace guide
