#pragma once

#include <functional>
#include <set>
#include <string>

#include "platform/UUID.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/SystemBus.h"

namespace platform {

/// Asks BlueZ to watch for the beacons of some networks by an advertisement monitor, beside its
/// discovery. What it hears comes as sightings, like the rest; the monitor keeps controllers from
/// dropping repeated frames. It is an extra: BlueZ may refuse it, release it or never take it up,
/// and then discovery goes on alone.
class BlueZMonitor {
 public:
  /// Registers with the adapter at `adapter` of the daemon whose unique name is `daemon`. `ended`
  /// is called with the reason when there is no monitor, or none any more.
  BlueZMonitor(SystemBus& bus, const MainContext& context, std::string daemon, std::string adapter,
               std::set<UUID> networks, std::function<void(const std::string&)> ended);
  ~BlueZMonitor();
  BlueZMonitor(const BlueZMonitor&) = delete;
  BlueZMonitor& operator=(const BlueZMonitor&) = delete;

 private:
  void call(const char* method, std::function<void(const BusReply&)> answered);
  void offerMonitor();
  GVariant* onCall(const std::string& method);
  GVariant* property(const std::string& name) const;
  void end(const std::string& reason);
  void withdraw();

  SystemBus& bus_;
  const std::string daemon_;
  const std::string adapter_;
  const std::set<UUID> networks_;
  const std::function<void(const std::string&)> ended_;
  Timer patience_;
  SystemBus::Registration root_;
  SystemBus::Registration monitor_;
};

}  // namespace platform
