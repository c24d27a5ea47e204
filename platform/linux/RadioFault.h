// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/linux/BlueZConnection.h"
#include "platform/linux/RadioBlock.h"
#include "platform/location/Radio.h"

namespace platform {

/// What a radio knows of the way to its discovery.
struct RadioState {
  BlueZConnection::Stage stage = BlueZConnection::Stage::kConnecting;
  /// Why the daemon does not say what it has.
  std::string reason = {};
  /// The adapter that was asked for; empty for whichever there is.
  std::string wanted = {};
  /// The one that serves, as "hci0"; empty for none.
  std::string adapter = {};
  bool powered = false;
  /// Of that adapter; of any while none serves.
  RadioBlock block = RadioBlock::kNone;
  /// The daemon has just started, and finds its adapters one by one.
  bool mayFindAdapters = false;
  /// Why discovery does not start.
  std::string failure = {};
  /// The daemon has been asked to start it for a while, and is busy or does not answer.
  bool isStuck = false;
};

/// Why the radio does not listen.
struct RadioFault {
  Radio::FaultKind kind = Radio::FaultKind::kNone;
  /// One line for a person that says what to do; empty while nothing is known to be wrong.
  std::string text = {};
};

RadioFault faultOf(const RadioState& state);

}  // namespace platform
