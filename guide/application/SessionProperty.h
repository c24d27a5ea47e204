// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <functional>

#include "guide/application/GObject.h"

namespace guide {

/// A switch that another program shows as a property on the session's bus.
class SessionProperty {
 public:
  /// Where it stands.
  struct Name {
    const char* service;
    const char* path;
    const char* interface;
    const char* property;
  };
  /// Whether a screen reader runs.
  static constexpr Name kScreenReader = {"org.a11y.Bus", "/org/a11y/bus", "org.a11y.Status",
                                         "ScreenReaderEnabled"};
  /// Whether somebody makes a call, on a phone.
  static constexpr Name kCall = {"org.mobian_project.CallAudio", "/org/mobian_project/CallAudio",
                                 "org.mobian_project.CallAudio", "AudioMode"};

  /// `onChange` is called on the main context, and never from inside the constructor. No service is
  /// started for it.
  SessionProperty(const Name& name, std::function<void()> onChange);
  ~SessionProperty();
  SessionProperty(const SessionProperty&) = delete;
  SessionProperty& operator=(const SessionProperty&) = delete;

  /// True for true and for any number but 0; false without the service.
  bool isSet() const;

 private:
  static void onProxy(GObject* source, GAsyncResult* result, gpointer self);

  const char* const property_;
  const std::function<void()> onChange_;
  const Ref<GCancellable> life_{g_cancellable_new()};
  Ref<GDBusProxy> proxy_;
};

}  // namespace guide
