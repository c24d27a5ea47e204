// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/BlueZWatch.h"

#include <chrono>

namespace platform {
namespace {

using namespace std::chrono_literals;

/// How late a beacon may be noticed that BlueZ knew as another device before.
constexpr Duration kPause = 5s;

}  // namespace

BlueZWatch::BlueZWatch(BlueZConnection& connection, const MainContext& context,
                       BlueZDevices& devices, const std::set<UUID>& networks,
                       std::function<void(bool, const Beacons&)> looked)
    : connection_(connection),
      devices_(devices),
      networks_(networks),
      looked_(std::move(looked)),
      timer_(context, [this] { look(); }) {
  follow();
  timer_.set(monotonicNow() + kPause);
}

void BlueZWatch::look() {
  timer_.set(monotonicNow() + kPause);
  connection_.askForObjects(life_.guard([this](const BusReply& reply) {
    if (!reply.value) return;
    const Variant objects(g_variant_get_child_value(reply.value.get(), 0));
    onObjects(objects.get());
  }));
}

void BlueZWatch::onObjects(GVariant* objects) {
  std::size_t strengths = 0;
  BlueZConnection::forEachObject(objects, [&](const std::string& path, GVariant* interfaces) {
    const Variant device(
        g_variant_lookup_value(interfaces, BlueZConnection::kDevice, G_VARIANT_TYPE_VARDICT));
    if (!device) return;
    devices_.know(path, device.get());
    gint16 rssi = 0;
    if (g_variant_lookup(device.get(), "RSSI", "n", &rssi) == FALSE) return;
    strengths = strengths * 31 + std::hash<std::string>()(path) + static_cast<std::size_t>(rssi);
  });
  Beacons beacons;
  for (const std::string& path : follow()) beacons.emplace_back(path, *devices_.latest(path));
  looked_(std::exchange(strengths_, strengths) != strengths, beacons);
}

/// Has the changes of the networks' beacons told, and of no other device. Those that are new.
std::vector<std::string> BlueZWatch::follow() {
  std::vector<std::string> added;
  std::map<std::string, SystemBus::Registration> followed;
  for (const std::string& path : devices_.beaconsOf(networks_)) {
    const auto before = followed_.find(path);
    const bool isNew = before == followed_.end();
    followed[path] = isNew ? connection_.tellOfDevice(path) : before->second;
    if (isNew) added.push_back(path);
  }
  followed_ = std::move(followed);
  return added;
}

}  // namespace platform
