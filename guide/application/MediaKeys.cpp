// SPDX-License-Identifier: Apache-2.0
#include "guide/application/MediaKeys.h"

#include <string_view>
#include <utility>

#include "guidance/Text.h"

namespace guide {
namespace {

constexpr const char* kPath = "/org/mpris/MediaPlayer2";

constexpr const char* kInterfaces = R"(<node>
  <interface name="org.mpris.MediaPlayer2">
    <method name="Raise"/>
    <method name="Quit"/>
    <property name="CanQuit" type="b" access="read"/>
    <property name="CanRaise" type="b" access="read"/>
    <property name="HasTrackList" type="b" access="read"/>
    <property name="Identity" type="s" access="read"/>
    <property name="DesktopEntry" type="s" access="read"/>
    <property name="SupportedUriSchemes" type="as" access="read"/>
    <property name="SupportedMimeTypes" type="as" access="read"/>
  </interface>
  <interface name="org.mpris.MediaPlayer2.Player">
    <method name="Next"/>
    <method name="Previous"/>
    <method name="Pause"/>
    <method name="PlayPause"/>
    <method name="Stop"/>
    <method name="Play"/>
    <property name="PlaybackStatus" type="s" access="read"/>
    <property name="Metadata" type="a{sv}" access="read"/>
    <property name="CanGoNext" type="b" access="read"/>
    <property name="CanGoPrevious" type="b" access="read"/>
    <property name="CanPlay" type="b" access="read"/>
    <property name="CanPause" type="b" access="read"/>
    <property name="CanSeek" type="b" access="read"/>
    <property name="CanControl" type="b" access="read"/>
  </interface>
</node>)";

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

}  // namespace

MediaKeys::MediaKeys(GDBusConnection* bus, std::function<void()> pressed)
    : pressed_(std::move(pressed)),
      bus_(G_DBUS_CONNECTION(g_object_ref(bus))),
      name_(g_bus_own_name_on_connection(bus, "org.mpris.MediaPlayer2.brivane_guide",
                                         G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr, nullptr,
                                         nullptr)) {
  static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(kInterfaces, nullptr);
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
