// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <set>
#include <string>

#include "platform/UUID.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/SystemBus.h"

namespace platform {

/// Asks BlueZ to watch for the beacons of some networks by an advertisement monitor. Beside a
/// discovery it keeps controllers from dropping repeated frames; without one it says that a beacon
/// is near, and wakes nobody for any other device. It is an extra: BlueZ may refuse it, release it
/// or never take it up.
class BlueZMonitor {
 public:
  struct Events {
    /// BlueZ has taken it up.
    std::function<void()> activated;
    /// There is no monitor, or none any more, for this reason.
    std::function<void(const std::string&)> ended;
    /// A beacon was heard, which is the device at this path.
    std::function<void(const std::string&)> found;
  };

  /// Registers with the adapter at `adapter` of the daemon whose unique name is `daemon`.
  BlueZMonitor(SystemBus& bus, const MainContext& context, std::string daemon, std::string adapter,
               std::set<UUID> networks, Events events);
  ~BlueZMonitor();
  BlueZMonitor(const BlueZMonitor&) = delete;
  BlueZMonitor& operator=(const BlueZMonitor&) = delete;

  bool isActive() const { return active_; }

 private:
  void call(const char* method, std::function<void(const BusReply&)> answered);
  void offerMonitor();
  GVariant* onCall(const std::string& method, GVariant* arguments);
  GVariant* property(const std::string& name) const;
  void end(const std::string& reason);
  void withdraw();

  SystemBus& bus_;
  const std::string daemon_;
  const std::string adapter_;
  const std::set<UUID> networks_;
  const Events events_;
  bool active_ = false;
  Timer patience_;
  SystemBus::Registration root_;
  SystemBus::Registration monitor_;
  const Life life_;
};

}  // namespace platform
