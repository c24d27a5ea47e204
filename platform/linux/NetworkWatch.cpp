// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/NetworkWatch.h"

#include <gio/gio.h>

#include <string>
#include <utility>

#include "platform/linux/MainContext.h"
#include "platform/linux/SystemBus.h"

namespace platform {

struct NetworkWatch::State {
  explicit State(std::function<void()> change)
      : onChange(std::move(change)),
        bus(
            MainContext::ofThisThread(), [this] { watchSleep(); },
            // Without the system bus there is no logind either.
            [](const std::string& /*fault*/) {}) {
    handler = g_signal_connect_swapped(monitor, "network-changed", G_CALLBACK(tell), this);
  }
  ~State() { g_signal_handler_disconnect(monitor, handler); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  static void tell(State* self) { self->onChange(); }

  void watchSleep() {
    sleep = bus.subscribe({.sender = "org.freedesktop.login1",
                           .path = "/org/freedesktop/login1",
                           .interface = "org.freedesktop.login1.Manager",
                           .member = "PrepareForSleep",
                           .arguments = "(b)"},
                          [this](const char* /*path*/, GVariant* arguments) {
                            gboolean begins = TRUE;
                            g_variant_get(arguments, "(b)", &begins);
                            if (begins == FALSE) onChange();
                          });
  }

  const std::function<void()> onChange;
  GNetworkMonitor* const monitor = g_network_monitor_get_default();  // GLib's own
  gulong handler = 0;
  SystemBus bus;
  SystemBus::Registration sleep;
};

NetworkWatch::NetworkWatch(std::function<void()> onChange)
    : state_(std::make_unique<State>(std::move(onChange))) {}

NetworkWatch::~NetworkWatch() = default;

}  // namespace platform
