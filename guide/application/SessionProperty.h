// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <functional>

namespace guide {

/// A switch that another program shows as a property on the session's bus.
struct SessionProperty {
  const char* service;
  const char* path;
  const char* interface;
  const char* name;
};

/// Whether a screen reader runs.
inline constexpr SessionProperty kScreenReader = {"org.a11y.Bus", "/org/a11y/bus",
                                                  "org.a11y.Status", "ScreenReaderEnabled"};
/// Whether somebody makes a call, on a phone.
inline constexpr SessionProperty kCall = {"org.mobian_project.CallAudio",
                                          "/org/mobian_project/CallAudio",
                                          "org.mobian_project.CallAudio", "AudioMode"};

/// Tells on the main context, until `owner` goes, what the property is: at first, and whenever it
/// may have changed. True is any number but 0, too; false without the service, which is not
/// started.
void watch(const SessionProperty& property, GObject* owner, std::function<void(bool)> onChange);

}  // namespace guide
