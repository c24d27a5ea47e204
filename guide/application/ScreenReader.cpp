// SPDX-License-Identifier: Apache-2.0
#include "guide/application/ScreenReader.h"

#include <utility>

namespace guide {

ScreenReader::ScreenReader(std::function<void()> onChange) : onChange_(std::move(onChange)) {
  g_dbus_proxy_new_for_bus(G_BUS_TYPE_SESSION, G_DBUS_PROXY_FLAGS_NONE, nullptr, "org.a11y.Bus",
                           "/org/a11y/bus", "org.a11y.Status", life_.get(), onStatus, this);
}

ScreenReader::~ScreenReader() {
  g_cancellable_cancel(life_.get());
  if (status_) g_signal_handlers_disconnect_by_data(status_.get(), this);
}

bool ScreenReader::isRunning() const {
  if (!status_) return false;
  GVariant* const enabled = g_dbus_proxy_get_cached_property(status_.get(), "ScreenReaderEnabled");
  if (enabled == nullptr) return false;
  const bool runs = g_variant_is_of_type(enabled, G_VARIANT_TYPE_BOOLEAN) &&
                    g_variant_get_boolean(enabled) != FALSE;
  g_variant_unref(enabled);
  return runs;
}

void ScreenReader::onStatus(GObject* /*source*/, GAsyncResult* result, gpointer self) {
  Fault fault;
  GDBusProxy* const status = g_dbus_proxy_new_for_bus_finish(result, fault.out());
  if (status == nullptr) return;  // cancelled, and this may be gone; or no session bus
  auto& reader = *static_cast<ScreenReader*>(self);
  reader.status_.reset(status);
  const auto changed =
      +[](gpointer changedSelf) { static_cast<ScreenReader*>(changedSelf)->onChange_(); };
  g_signal_connect_swapped(status, "g-properties-changed", G_CALLBACK(changed), self);
  reader.onChange_();
}

}  // namespace guide
