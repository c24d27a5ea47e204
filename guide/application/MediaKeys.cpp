// SPDX-License-Identifier: Apache-2.0
#include "guide/application/MediaKeys.h"

#include <string_view>
#include <utility>

#include "guidance/Text.h"

namespace guide {
namespace {

constexpr const char* kPath = "/org/mpris/MediaPlayer2";

GVariant* onProperty(GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/,
                     const char* /*interface*/, const char* name, GError** /*fault*/,
                     gpointer /*self*/) {
  const std::string_view property(name);
  if (property == "Identity") return g_variant_new_string(guidance::_("Brivane Guide"));
  if (property == "DesktopEntry") return g_variant_new_string("example.brivane.Guide");
  if (property == "PlaybackStatus") return g_variant_new_string("Paused");
  if (property == "Metadata") return g_variant_new("a{sv}", nullptr);
  if (property.starts_with("Supported")) return g_variant_new("as", nullptr);
  return g_variant_new_boolean(property == "CanPlay" || property == "CanPause" ||
                               property == "CanControl");
}

/// What the resource describes, for the life of the process.
GDBusNodeInfo* describe() {
  g_autoptr(GBytes) text = g_resources_lookup_data("/example/brivane/Guide/mpris.xml",
                                                   G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
  return g_dbus_node_info_new_for_xml(static_cast<const char*>(g_bytes_get_data(text, nullptr)),
                                      nullptr);
}

}  // namespace

MediaKeys::MediaKeys(GDBusConnection* bus, std::function<void()> pressed)
    : pressed_(std::move(pressed)),
      bus_(G_DBUS_CONNECTION(g_object_ref(bus))),
      name_(g_bus_own_name_on_connection(bus, "org.mpris.MediaPlayer2.brivane_guide",
                                         G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr, nullptr,
                                         nullptr)) {
  static GDBusNodeInfo* const node = describe();
  static const GDBusInterfaceVTable calls = {onCall, onProperty, nullptr, {}};
  for (GDBusInterfaceInfo** each = node->interfaces; *each != nullptr; ++each) {
    objects_.push_back(
        g_dbus_connection_register_object(bus, kPath, *each, &calls, this, nullptr, nullptr));
  }
}

MediaKeys::~MediaKeys() {
  g_bus_unown_name(name_);
  for (const unsigned object : objects_) {
    if (object != 0) g_dbus_connection_unregister_object(bus_.get(), object);
  }
}

void MediaKeys::onCall(GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/,
                       const char* /*interface*/, const char* method, GVariant* /*arguments*/,
                       GDBusMethodInvocation* call, gpointer self) {
  const std::string_view key(method);
  if (key == "Play" || key == "Pause" || key == "PlayPause") {
    static_cast<MediaKeys*>(self)->pressed_();
  }
  g_dbus_method_invocation_return_value(call, nullptr);
}

}  // namespace guide
