// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "guidance/Troubles.h"

namespace guide {

/// Switches every Bluetooth adapter on through BlueZ, which takes no privilege. `failed` is called
/// later, on the main context, with BlueZ's reason when it refuses; it says none when it succeeds,
/// for the radio tells that it listens.
void switchBluetoothOn(std::function<void(const std::string&)> failed);

/// Shows the page of the desktop's settings where that trouble is mended; false when this desktop
/// has none.
bool openSettings(guidance::TroubleKind trouble);

}  // namespace guide
