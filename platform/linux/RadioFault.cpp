// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/RadioFault.h"

namespace platform {
namespace {

using Kind = Radio::FaultKind;

std::string remedyOf(RadioBlock block) {
  return block == RadioBlock::kHard
             ? " is blocked by a switch of this device; switch it on there"
             : " is blocked; end the airplane mode, or unblock it (rfkill unblock bluetooth)";
}

RadioFault blocked(const std::string& what, RadioBlock block) {
  return {Kind::kBlocked, what + remedyOf(block)};
}

RadioFault faultOfAdapter(const RadioState& state) {
  const bool isBlocked = state.block != RadioBlock::kNone;
  if (state.adapter.empty()) {
    if (state.mayFindAdapters) return {};
    if (isBlocked) return blocked("Bluetooth", state.block);
    const std::string which = state.wanted.empty() ? "" : " " + state.wanted;
    return {Kind::kNoAdapter,
            "there is no Bluetooth adapter" + which + "; plug it in, or load its driver"};
  }
  if (!state.powered) {
    const std::string which = "the Bluetooth adapter " + state.adapter;
    if (isBlocked) return blocked(which, state.block);
    return {Kind::kSwitchedOff, which + " is off; switch it on (bluetoothctl power on)"};
  }
  const std::string what = "Bluetooth discovery does not start: ";
  if (!state.failure.empty()) return {Kind::kOther, what + state.failure};
  if (!state.isStuck) return {};
  return {Kind::kOther,
          what + "the Bluetooth daemon stays busy; restart it (systemctl restart bluetooth)"};
}

}  // namespace

RadioFault faultOf(const RadioState& state) {
  using Stage = BlueZConnection::Stage;
  switch (state.stage) {
    case Stage::kConnecting:
    case Stage::kAsking:
      break;
    case Stage::kNoBus:
      return {Kind::kOther, "the system bus cannot be reached; start it (systemctl start dbus)"};
    case Stage::kNoDaemon:
      return {Kind::kOther,
              "the Bluetooth daemon does not run; start it (systemctl start bluetooth)"};
    case Stage::kUnanswered:
      return {Kind::kOther, "the Bluetooth daemon does not say what it has: " + state.reason};
    case Stage::kKnown:
      return faultOfAdapter(state);
  }
  return {};
}

}  // namespace platform
