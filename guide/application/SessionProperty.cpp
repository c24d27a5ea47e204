// SPDX-License-Identifier: Apache-2.0
#include "guide/application/SessionProperty.h"

#include <utility>

namespace guide {

SessionProperty::SessionProperty(const Name& name, std::function<void()> onChange)
    : property_(name.property), onChange_(std::move(onChange)) {
  g_dbus_proxy_new_for_bus(G_BUS_TYPE_SESSION, G_DBUS_PROXY_FLAGS_DO_NOT_AUTO_START, nullptr,
                           name.service, name.path, name.interface, life_.get(), onProxy, this);
}

SessionProperty::~SessionProperty() {
  g_cancellable_cancel(life_.get());
  if (proxy_) g_signal_handlers_disconnect_by_data(proxy_.get(), this);
}

bool SessionProperty::isSet() const {
  if (!proxy_) return false;
  GVariant* const value = g_dbus_proxy_get_cached_property(proxy_.get(), property_);
  if (value == nullptr) return false;
  const bool isSet = g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32)
                         ? g_variant_get_uint32(value) != 0
                         : g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) &&
                               g_variant_get_boolean(value) != FALSE;
  g_variant_unref(value);
  return isSet;
}

void SessionProperty::onProxy(GObject* /*source*/, GAsyncResult* result, gpointer self) {
  Fault fault;
  GDBusProxy* const proxy = g_dbus_proxy_new_for_bus_finish(result, fault.out());
  if (proxy == nullptr) return;  // cancelled, and this may be gone; or no session bus
  auto& property = *static_cast<SessionProperty*>(self);
  property.proxy_.reset(proxy);
  const auto changed =
      +[](gpointer changedSelf) { static_cast<SessionProperty*>(changedSelf)->onChange_(); };
  g_signal_connect_swapped(proxy, "g-properties-changed", G_CALLBACK(changed), self);
  property.onChange_();
}

}  // namespace guide
