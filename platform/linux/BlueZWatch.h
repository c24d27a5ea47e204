// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/UUID.h"
#include "platform/linux/BlueZConnection.h"
#include "platform/linux/BlueZDevices.h"
#include "platform/linux/MainContext.h"

namespace platform {

/// Waits for a first beacon while it lives, where the changes of all devices are not told: they
/// would wake the process for every frame of every device around. This looks every few seconds at
/// what BlueZ has for devices that have become beacons, and is told of the changes of those that
/// are beacons of the networks already. Of a device that is found anew the
/// connection tells anyhow.
class BlueZWatch {
 public:
  using Beacons = std::vector<std::pair<std::string, Advertisement>>;

  /// After each look `looked` is told whether any device was heard since the one before, and which
  /// have become beacons meanwhile.
  BlueZWatch(BlueZConnection& connection, const MainContext& context, BlueZDevices& devices,
             const std::set<UUID>& networks,
             std::function<void(bool heard, const Beacons& beacons)> looked);
  BlueZWatch(const BlueZWatch&) = delete;
  BlueZWatch& operator=(const BlueZWatch&) = delete;

 private:
  void look();
  void onObjects(GVariant* objects);
  std::vector<std::string> follow();

  BlueZConnection& connection_;
  BlueZDevices& devices_;
  const std::set<UUID>& networks_;
  const std::function<void(bool, const Beacons&)> looked_;
  Timer timer_;
  /// Differs when the signal strength of a device does.
  std::size_t strengths_ = 0;
  std::map<std::string, SystemBus::Registration> followed_;
  const Life life_;
};

}  // namespace platform
