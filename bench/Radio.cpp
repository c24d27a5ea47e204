// A stand-in for the Bluetooth daemon on the system bus: one adapter with power, and beacons that
// are heard as often as somebody asks. Prints a line when it is there; runs until it is ended.
#include <gio/gio.h>

#include <cstdio>
#include <string>

#include "bench/Services.h"

namespace {

constexpr int kBeacons = 20;
constexpr const char* kAdapterPath = "/org/bluez/hci0";

constexpr const char* kInterfaces = R"(<node>
<interface name="org.freedesktop.DBus.ObjectManager">
  <method name="GetManagedObjects"><arg type="a{oa{sa{sv}}}" direction="out"/></method>
</interface>
<interface name="org.bluez.Adapter1">
  <method name="SetDiscoveryFilter"><arg type="a{sv}" direction="in"/></method>
  <method name="StartDiscovery"/>
  <method name="StopDiscovery"/>
</interface>
<interface name="example.Bench">
  <method name="Hear"><arg type="u" direction="in"/></method>
</interface>
</node>)";

GVariant* objects() {
  return g_variant_new_parsed(
      "({objectpath '/org/bluez/hci0': {'org.bluez.Adapter1':"
      " {'Address': <'C0:00:00:00:00:FF'>, 'Powered': <true>, 'Discovering': <false>}}},)");
}

/// What BlueZ signals for each frame.
GVariant* heard(int i) {
  const platform::Advertisement frame = bench::frame(i % kBeacons, -60 - i % 7);
  GVariant* const bytes =
      g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, frame.data.data(), frame.data.size(), 1);
  return g_variant_new_parsed(
      "('org.bluez.Device1', {'ManufacturerData': <{uint16 76: <%@ay>}>, 'RSSI': <%n>},"
      " @as [])",
      bytes, static_cast<gint16>(frame.rssi));
}

void hear(GDBusConnection* bus, guint32 frames) {
  for (guint32 i = 0; i < frames; ++i) {
    const std::string path =
        std::string(kAdapterPath) + "/dev_C0_00_00_00_00_" + std::to_string(10 + i % kBeacons);
    g_dbus_connection_emit_signal(bus, nullptr, path.c_str(), "org.freedesktop.DBus.Properties",
                                  "PropertiesChanged", heard(static_cast<int>(i)), nullptr);
  }
}

void onMethod(GDBusConnection* bus, const gchar* /*sender*/, const gchar* /*path*/,
              const gchar* /*interface*/, const gchar* method, GVariant* arguments,
              GDBusMethodInvocation* invocation, gpointer /*data*/) {
  const std::string name = method;
  g_dbus_method_invocation_return_value(invocation,
                                        name == "GetManagedObjects" ? objects() : nullptr);
  guint32 frames = 0;
  if (name == "Hear") {
    g_variant_get(arguments, "(u)", &frames);
    hear(bus, frames);
  }
}

constexpr GDBusInterfaceVTable kTable = {onMethod, nullptr, nullptr, {}};

void offer(GDBusConnection* bus, const GDBusNodeInfo* node, const char* path, int interface) {
  g_dbus_connection_register_object(bus, path, node->interfaces[interface], &kTable, nullptr,
                                    nullptr, nullptr);
}

void onName(GDBusConnection* /*bus*/, const gchar* /*name*/, gpointer /*data*/) {
  std::printf("ready\n");
  std::fflush(stdout);
}

}  // namespace

int main() {
  GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  if (bus == nullptr) return 1;
  const GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(kInterfaces, nullptr);
  offer(bus, node, "/", 0);
  offer(bus, node, kAdapterPath, 1);
  offer(bus, node, "/bench", 2);
  g_bus_own_name_on_connection(bus, "org.bluez", G_BUS_NAME_OWNER_FLAGS_NONE, onName, nullptr,
                               nullptr, nullptr);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
