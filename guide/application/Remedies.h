// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace guide {

/// Switches every Bluetooth adapter on through BlueZ, which takes no privilege. `failed` is called
/// later, on the main context, with BlueZ's reason when it refuses; it says none when it succeeds,
/// for the radio tells that it listens.
void switchBluetoothOn(std::function<void(const std::string&)> failed);

/// A page of the desktop's settings.
enum class SettingsPage { kBluetooth, kNetwork, kLocation };

/// Whether this desktop has that page.
bool hasSettings(SettingsPage page);
/// Shows it, where it is there.
void openSettings(SettingsPage page);

}  // namespace guide
