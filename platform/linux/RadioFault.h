#pragma once

#include <string>

#include "platform/linux/BlueZConnection.h"

namespace platform {

/// What a radio knows of the way to its discovery.
struct RadioState {
  BlueZConnection::Stage stage = BlueZConnection::Stage::kConnecting;
  /// Why the daemon does not say what it has.
  std::string reason;
  /// The adapter that was asked for; empty for whichever there is.
  std::string wanted;
  /// The one that serves, as "hci0"; empty for none.
  std::string adapter;
  bool powered = false;
  /// The daemon has just started, and finds its adapters one by one.
  bool mayFindAdapters = false;
  /// Why discovery does not start.
  std::string failure;
};

/// Why the radio does not listen, in one line for a person that says what to do; empty while
/// nothing is known to be wrong.
std::string faultOf(const RadioState& state);

}  // namespace platform
