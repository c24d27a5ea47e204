// SPDX-License-Identifier: Apache-2.0

// The least that a GDBus program does for a beacon's frame: takes BlueZ's signal and does nothing.
// Runs until it is ended.
#include <gio/gio.h>

namespace {

void onSignal(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
              const gchar* /*interface*/, const gchar* /*signal*/, GVariant* /*arguments*/,
              gpointer /*data*/) {}

}  // namespace

int main() {
  GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  if (bus == nullptr) return 1;
  g_dbus_connection_signal_subscribe(bus, "org.bluez", "org.freedesktop.DBus.Properties",
                                     "PropertiesChanged", nullptr, "org.bluez.Device1",
                                     G_DBUS_SIGNAL_FLAGS_NONE, onSignal, nullptr, nullptr);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
