// SPDX-License-Identifier: Apache-2.0
#include "guide/application/SessionProperty.h"

#include <memory>
#include <utility>

namespace guide {
namespace {

struct Watch {
  SessionProperty property;
  GObject* owner;
  std::function<void(bool)> onChange;
};

void tell(GDBusProxy* proxy, const Watch* watch) {
  g_autoptr(GVariant) value = g_dbus_proxy_get_cached_property(proxy, watch->property.name);
  const bool isNumber = value != nullptr && g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32);
  const bool isSwitch = value != nullptr && g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN);
  watch->onChange((isNumber && g_variant_get_uint32(value) != 0) ||
                  (isSwitch && g_variant_get_boolean(value) != FALSE));
}

void onChange(GDBusProxy* proxy, GVariant* /*changed*/, GStrv /*invalidated*/, gpointer watch) {
  tell(proxy, static_cast<Watch*>(watch));
}

void onProxy(GObject* /*source*/, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Watch> watch(static_cast<Watch*>(data));
  GDBusProxy* const proxy = g_dbus_proxy_new_for_bus_finish(result, nullptr);
  if (proxy == nullptr) return;  // there is no session's bus
  g_object_set_data_full(watch->owner, watch->property.interface, proxy, g_object_unref);
  tell(proxy, watch.get());
  g_signal_connect_data(
      proxy, "g-properties-changed", G_CALLBACK(onChange), watch.release(),
      [](gpointer ended, GClosure* /*closure*/) { delete static_cast<Watch*>(ended); },
      static_cast<GConnectFlags>(0));
}

}  // namespace

void watch(const SessionProperty& property, GObject* owner, std::function<void(bool)> onChange) {
  g_dbus_proxy_new_for_bus(G_BUS_TYPE_SESSION, G_DBUS_PROXY_FLAGS_DO_NOT_AUTO_START, nullptr,
                           property.service, property.path, property.interface, nullptr, onProxy,
                           new Watch{property, owner, std::move(onChange)});
}

}  // namespace guide
