// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace platform {

/// Whether the system keeps a Bluetooth radio switched off, so that BlueZ cannot switch it on.
enum class RadioBlock {
  kNone,
  /// By software, as an airplane mode does.
  kSoft,
  /// By a switch of the device.
  kHard,
};

/// How the radio of the adapter `name` ("hci0") is blocked, or any Bluetooth radio where that is
/// empty. Reads `switches`, which every user may.
RadioBlock radioBlockOf(const std::string& name,
                        const std::filesystem::path& switches = "/sys/class/rfkill");

}  // namespace platform
