// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <functional>

/// A main context of the thread that makes it, as a worker of an application has.
class OwnContext {
 public:
  OwnContext() { g_main_context_push_thread_default(context_); }
  ~OwnContext() {
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
  }
  OwnContext(const OwnContext&) = delete;
  OwnContext& operator=(const OwnContext&) = delete;

  void runUntil(const std::function<bool()>& done) const {
    while (!done()) g_main_context_iteration(context_, TRUE);
  }
  /// Runs what is due now.
  void run() const {
    while (g_main_context_iteration(context_, FALSE) != FALSE) {
    }
  }

 private:
  GMainContext* const context_ = g_main_context_new();
};
