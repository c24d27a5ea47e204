#include "platform/linux/RadioFault.h"

namespace platform {
namespace {

std::string faultOfAdapter(const RadioState& state) {
  if (state.adapter.empty()) {
    if (state.mayFindAdapters) return "";
    const std::string which = state.wanted.empty() ? "" : " " + state.wanted;
    return "there is no Bluetooth adapter" + which + "; plug it in, or load its driver";
  }
  if (!state.powered) {
    return "the Bluetooth adapter " + state.adapter +
           " is off; switch it on (bluetoothctl power on)";
  }
  return state.failure.empty() ? "" : "Bluetooth discovery does not start: " + state.failure;
}

}  // namespace

std::string faultOf(const RadioState& state) {
  using Stage = BlueZConnection::Stage;
  switch (state.stage) {
    case Stage::kConnecting:
    case Stage::kAsking:
      break;
    case Stage::kNoBus:
      return "the system bus cannot be reached; start it (systemctl start dbus)";
    case Stage::kNoDaemon:
      return "the Bluetooth daemon does not run; start it (systemctl start bluetooth)";
    case Stage::kUnanswered:
      return "the Bluetooth daemon does not say what it has: " + state.reason;
    case Stage::kKnown:
      return faultOfAdapter(state);
  }
  return "";
}

}  // namespace platform
