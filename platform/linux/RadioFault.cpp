// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/RadioFault.h"

namespace platform {
namespace {

std::string remedyOf(RadioBlock block) {
  return block == RadioBlock::kHard
             ? " is blocked by a switch of this device; switch it on there"
             : " is blocked; end the airplane mode, or unblock it (rfkill unblock bluetooth)";
}

std::string faultOfAdapter(const RadioState& state) {
  if (state.adapter.empty()) {
    if (state.mayFindAdapters) return "";
    if (state.block != RadioBlock::kNone) return "Bluetooth" + remedyOf(state.block);
    const std::string which = state.wanted.empty() ? "" : " " + state.wanted;
    return "there is no Bluetooth adapter" + which + "; plug it in, or load its driver";
  }
  if (!state.powered) {
    return "the Bluetooth adapter " + state.adapter +
           (state.block == RadioBlock::kNone ? " is off; switch it on (bluetoothctl power on)"
                                             : remedyOf(state.block));
  }
  const std::string what = "Bluetooth discovery does not start: ";
  if (!state.failure.empty()) return what + state.failure;
  if (!state.isStuck) return "";
  return what + "the Bluetooth daemon stays busy; restart it (systemctl restart bluetooth)";
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
