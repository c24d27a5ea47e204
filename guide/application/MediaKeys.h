// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <functional>

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
  std::function<void()> pressed_;
  const Ref<GDBusInterfaceSkeleton> program_;
  const Ref<GDBusInterfaceSkeleton> player_;
  const unsigned name_;
};

}  // namespace guide
