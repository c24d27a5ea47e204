// SPDX-License-Identifier: Apache-2.0
#include "guide/application/Remedies.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>
#include <utility>

namespace guide {
namespace {

using Failed = std::function<void(const std::string&)>;

void onPowered(GObject* adapter, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Failed> failed(static_cast<Failed*>(data));
  g_autoptr(GError) fault = nullptr;
  g_autoptr(GVariant) reply = g_dbus_proxy_call_finish(G_DBUS_PROXY(adapter), result, &fault);
  if (reply == nullptr) (*failed)(fault->message);
}

void onBlueZ(GObject* /*source*/, GAsyncResult* result, gpointer data) {
  constexpr const char* kAdapter = "org.bluez.Adapter1";
  const std::unique_ptr<Failed> failed(static_cast<Failed*>(data));
  g_autoptr(GError) fault = nullptr;
  g_autoptr(GDBusObjectManager) bluez =
      g_dbus_object_manager_client_new_for_bus_finish(result, &fault);
  if (bluez == nullptr) return (*failed)(fault->message);
  g_autolist(GDBusObject) objects = g_dbus_object_manager_get_objects(bluez);
  for (const GList* each = objects; each != nullptr; each = each->next) {
    g_autoptr(GDBusInterface) adapter =
        g_dbus_object_get_interface(G_DBUS_OBJECT(each->data), kAdapter);
    if (adapter == nullptr) continue;
    g_dbus_proxy_call(G_DBUS_PROXY(adapter), "org.freedesktop.DBus.Properties.Set",
                      g_variant_new("(ssv)", kAdapter, "Powered", g_variant_new_boolean(TRUE)),
                      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, onPowered, new Failed(*failed));
  }
}

}  // namespace

void switchBluetoothOn(Failed failed) {
  g_dbus_object_manager_client_new_for_bus(
      G_BUS_TYPE_SYSTEM, G_DBUS_OBJECT_MANAGER_CLIENT_FLAGS_DO_NOT_AUTO_START, "org.bluez", "/",
      nullptr, nullptr, nullptr, nullptr, onBlueZ, new Failed(std::move(failed)));
}

bool openSettings(guidance::TroubleKind trouble) {
  const bool isBluetooth = trouble == guidance::TroubleKind::kBluetoothBlocked;
  g_autoptr(GDesktopAppInfo) page = g_desktop_app_info_new(
      isBluetooth ? "gnome-bluetooth-panel.desktop" : "gnome-location-panel.desktop");
  return page != nullptr && g_app_info_launch(G_APP_INFO(page), nullptr, nullptr, nullptr) != FALSE;
}

}  // namespace guide
