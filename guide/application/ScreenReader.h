// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <functional>

#include "guide/application/GObject.h"

namespace guide {

/// Knows whether a screen reader runs, as the accessibility bus tells on the session's bus.
class ScreenReader {
 public:
  /// `onChange` is called on the main context, and never from inside the constructor.
  explicit ScreenReader(std::function<void()> onChange);
  ~ScreenReader();
  ScreenReader(const ScreenReader&) = delete;
  ScreenReader& operator=(const ScreenReader&) = delete;

  bool isRunning() const;

 private:
  static void onStatus(GObject* source, GAsyncResult* result, gpointer self);

  const std::function<void()> onChange_;
  const Ref<GCancellable> life_{g_cancellable_new()};
  Ref<GDBusProxy> status_;
};

}  // namespace guide
