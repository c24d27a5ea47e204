// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <functional>
#include <vector>

#include "guide/application/GObject.h"

namespace guide {

/// The headset's button and the keyboard's play key, as the desktop delivers them to whatever
/// plays: as calls of MPRIS. While this exists the guide stands among the players, and a desktop
/// may prefer it to one that plays music.
class MediaKeys {
 public:
  /// `pressed` is called on the main context, where `bus` delivers.
  MediaKeys(GDBusConnection* bus, std::function<void()> pressed);
  ~MediaKeys();
  MediaKeys(const MediaKeys&) = delete;
  MediaKeys& operator=(const MediaKeys&) = delete;

 private:
  static void onCall(GDBusConnection* bus, const char* sender, const char* path,
                     const char* interface, const char* method, GVariant* arguments,
                     GDBusMethodInvocation* call, gpointer self);

  const std::function<void()> pressed_;
  const Ref<GDBusConnection> bus_;
  std::vector<unsigned> objects_;
  const unsigned name_;
};

}  // namespace guide
