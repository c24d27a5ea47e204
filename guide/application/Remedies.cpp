// SPDX-License-Identifier: Apache-2.0
#include "guide/application/Remedies.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>
#include <utility>

#include "guide/application/GObject.h"

namespace guide {
namespace {

constexpr const char* kBlueZ = "org.bluez";
constexpr const char* kAdapter = "org.bluez.Adapter1";

struct VariantUnref {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, VariantUnref>;

using Failed = std::function<void(const std::string&)>;

/// Ends a call whose data is a Failed of its own; null when it failed, and that has been told.
Variant finish(GObject* bus, GAsyncResult* result, gpointer failed) {
  const std::unique_ptr<Failed> tell(static_cast<Failed*>(failed));
  Fault fault;
  Variant reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, fault.out()));
  if (!reply) (*tell)(fault.message());
  return reply;
}

void powerOn(GDBusConnection* bus, const char* adapter, const Failed& failed) {
  g_dbus_connection_call(
      bus, kBlueZ, adapter, "org.freedesktop.DBus.Properties", "Set",
      g_variant_new("(ssv)", kAdapter, "Powered", g_variant_new_boolean(TRUE)), nullptr,
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) { finish(source, result, data); },
      new Failed(failed));
}

void onObjects(GObject* bus, GAsyncResult* result, gpointer data) {
  const Failed failed = *static_cast<Failed*>(data);
  const Variant reply = finish(bus, result, data);
  if (!reply) return;
  GVariantIter* objects = nullptr;
  const char* path = nullptr;
  GVariant* interfaces = nullptr;
  g_variant_get(reply.get(), "(a{oa{sa{sv}}})", &objects);
  while (g_variant_iter_loop(objects, "{&o@a{sa{sv}}}", &path, &interfaces)) {
    const Variant adapter(g_variant_lookup_value(interfaces, kAdapter, G_VARIANT_TYPE_VARDICT));
    if (adapter) powerOn(G_DBUS_CONNECTION(bus), path, failed);
  }
  g_variant_iter_free(objects);
}

void onBus(GObject* /*source*/, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Failed> failed(static_cast<Failed*>(data));
  Fault fault;
  const Ref<GDBusConnection> bus(g_bus_get_finish(result, fault.out()));
  if (!bus) {
    (*failed)(fault.message());
    return;
  }
  g_dbus_connection_call(bus.get(), kBlueZ, "/", "org.freedesktop.DBus.ObjectManager",
                         "GetManagedObjects", nullptr, G_VARIANT_TYPE("(a{oa{sa{sv}}})"),
                         G_DBUS_CALL_FLAGS_NONE, -1, nullptr, onObjects, failed.release());
}

Ref<GDesktopAppInfo> applicationFor(SettingsPage page) {
  constexpr const char* kPages[] = {"gnome-bluetooth-panel.desktop", "gnome-network-panel.desktop",
                                    "gnome-location-panel.desktop"};
  return Ref<GDesktopAppInfo>(g_desktop_app_info_new(kPages[static_cast<int>(page)]));
}

}  // namespace

void switchBluetoothOn(Failed failed) {
  g_bus_get(G_BUS_TYPE_SYSTEM, nullptr, onBus, new Failed(std::move(failed)));
}

bool hasSettings(SettingsPage page) { return applicationFor(page) != nullptr; }

void openSettings(SettingsPage page) {
  const auto application = applicationFor(page);
  if (application) g_app_info_launch(G_APP_INFO(application.get()), nullptr, nullptr, nullptr);
}

}  // namespace guide
