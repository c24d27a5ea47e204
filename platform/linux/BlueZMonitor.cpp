// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/BlueZMonitor.h"

#include <array>
#include <cstdint>
#include <utility>

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kManager = "org.bluez.AdvertisementMonitorManager1";
constexpr const char* kMonitor = "org.bluez.AdvertisementMonitor1";
constexpr const char* kRootPath = "/brivane";
constexpr const char* kMonitorPath = "/brivane/monitor";

constexpr const char* kRootXML = R"xml(<node><interface name="org.freedesktop.DBus.ObjectManager">
  <method name="GetManagedObjects"><arg type="a{oa{sa{sv}}}" direction="out"/></method>
</interface></node>)xml";
constexpr const char* kMonitorXML = R"xml(<node><interface name="org.bluez.AdvertisementMonitor1">
  <method name="Release"/><method name="Activate"/>
  <method name="DeviceFound"><arg type="o" direction="in"/></method>
  <method name="DeviceLost"><arg type="o" direction="in"/></method>
  <property name="Type" type="s" access="read"/>
  <property name="Patterns" type="a(yyay)" access="read"/>
</interface></node>)xml";

/// BlueZ may take a monitor and never use it.
constexpr Duration kPatience = 5s;

constexpr std::uint8_t kManufacturerData = 0xFF;
/// Company 0x004C, type and length of an iBeacon; the proximity UUID follows.
constexpr std::array<std::uint8_t, 4> kFrameBegin = {0x4C, 0x00, 0x02, 0x15};

GVariant* patternOf(const UUID& network) {
  GVariantBuilder bytes;
  g_variant_builder_init(&bytes, G_VARIANT_TYPE("ay"));
  for (const std::uint8_t byte : kFrameBegin) g_variant_builder_add(&bytes, "y", byte);
  for (const std::uint8_t byte : network.bytes()) g_variant_builder_add(&bytes, "y", byte);
  const guint8 firstByte = 0;
  return g_variant_new("(yyay)", firstByte, kManufacturerData, &bytes);
}

}  // namespace

BlueZMonitor::BlueZMonitor(SystemBus& bus, const MainContext& context, std::string daemon,
                           std::string adapter, std::set<UUID> networks, Events events)
    : bus_(bus),
      daemon_(std::move(daemon)),
      adapter_(std::move(adapter)),
      networks_(std::move(networks)),
      events_(std::move(events)),
      patience_(context, [this] { end("it was not activated"); }) {
  root_ = bus_.offer(
      kRootPath, kRootXML,
      [](const char*, GVariant*) { return g_variant_new_parsed("(@a{oa{sa{sv}}} {},)"); }, nullptr);
  patience_.set(monotonicNow() + kPatience);
  call("RegisterMonitor", life_.guard([this](const BusReply& reply) {
    if (reply.value) {
      offerMonitor();
    } else {
      end(reply.message);
    }
  }));
}

BlueZMonitor::~BlueZMonitor() { withdraw(); }

void BlueZMonitor::withdraw() {
  if (monitor_) call("UnregisterMonitor", [](const BusReply&) {});
  monitor_.reset();
  root_.reset();
  active_ = false;
  patience_.set(std::nullopt);
}

void BlueZMonitor::call(const char* method, std::function<void(const BusReply&)> answered) {
  bus_.call({.destination = daemon_.c_str(),
             .path = adapter_,
             .interface = kManager,
             .method = method,
             .arguments = g_variant_new("(o)", kRootPath)},
            std::move(answered));
}

/// BlueZ takes up a monitor that appears beneath a registered root.
void BlueZMonitor::offerMonitor() {
  monitor_ = bus_.offer(
      kMonitorPath, kMonitorXML,
      [this](const char* method, GVariant* arguments) { return onCall(method, arguments); },
      [this](const char* name) { return property(name); });
  bus_.emit(kRootPath, SystemBus::kObjectManager, "InterfacesAdded",
            g_variant_new_parsed("(%o, {%s: {'Type': <%*>, 'Patterns': <%*>}})", kMonitorPath,
                                 kMonitor, property("Type"), property("Patterns")));
}

/// Each event is the last thing done: the monitor may be gone after it.
GVariant* BlueZMonitor::onCall(const std::string& method, GVariant* arguments) {
  if (method == "Activate") {
    patience_.set(std::nullopt);
    active_ = true;
    events_.activated();
  } else if (method == "Release") {
    end("BlueZ released it");
  } else if (method == "DeviceFound") {
    const gchar* path = nullptr;
    g_variant_get(arguments, "(&o)", &path);
    events_.found(path);
  }
  return nullptr;
}

GVariant* BlueZMonitor::property(const std::string& name) const {
  if (name == "Type") return g_variant_new_string("or_patterns");
  GVariantBuilder patterns;
  g_variant_builder_init(&patterns, G_VARIANT_TYPE("a(yyay)"));
  for (const UUID& network : networks_) {
    g_variant_builder_add_value(&patterns, patternOf(network));
  }
  return g_variant_builder_end(&patterns);
}

void BlueZMonitor::end(const std::string& reason) {
  withdraw();
  events_.ended(reason);
}

}  // namespace platform
