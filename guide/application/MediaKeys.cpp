// SPDX-License-Identifier: Apache-2.0
#include "guide/application/MediaKeys.h"

#include <mpris.h>

#include <utility>

#include "guidance/Text.h"

namespace guide {
namespace {

gboolean onKey(GDBusInterfaceSkeleton* /*player*/, GDBusMethodInvocation* call, gpointer pressed) {
  (*static_cast<std::function<void()>*>(pressed))();
  g_dbus_method_invocation_return_value(call, nullptr);
  return TRUE;
}

}  // namespace

MediaKeys::MediaKeys(GDBusConnection* bus, std::function<void()> pressed)
    : pressed_(std::move(pressed)),
      program_(G_DBUS_INTERFACE_SKELETON(mpris_media_player2_skeleton_new())),
      player_(G_DBUS_INTERFACE_SKELETON(mpris_media_player2_player_skeleton_new())),
      name_(g_bus_own_name_on_connection(bus, "org.mpris.MediaPlayer2.brivane_guide",
                                         G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr, nullptr,
                                         nullptr)) {
  g_object_set(program_.get(), "identity", guidance::_("Brivane Guide"), "desktop-entry",
               "example.brivane.Guide", nullptr);
  g_object_set(player_.get(), "playback-status", "Paused", "metadata",
               g_variant_new("a{sv}", nullptr), "can-play", TRUE, "can-pause", TRUE, "can-control",
               TRUE, nullptr);
  for (const char* key : {"handle-play", "handle-pause", "handle-play-pause"}) {
    g_signal_connect(player_.get(), key, G_CALLBACK(onKey), &pressed_);
  }
  for (GDBusInterfaceSkeleton* each : {program_.get(), player_.get()}) {
    g_dbus_interface_skeleton_export(each, bus, "/org/mpris/MediaPlayer2", nullptr);
  }
}

MediaKeys::~MediaKeys() {
  g_bus_unown_name(name_);
  g_dbus_interface_skeleton_unexport(program_.get());
  g_dbus_interface_skeleton_unexport(player_.get());
}

}  // namespace guide
