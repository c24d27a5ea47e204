// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace platform {

/// The manufacturer's part of one Bluetooth LE advertisement, as a radio heard it.
struct Advertisement {
  /// Company identifier of the Bluetooth SIG.
  std::uint16_t company = 0;
  /// What follows the company identifier. Comes from the air: it may hold anything.
  std::vector<std::uint8_t> data;
  /// Signal strength, dBm; 127 and 0 say that there was no reading.
  int rssi = 0;
  /// Of the sender, in the order in which addresses are written. A beacon changes it at will.
  std::array<std::uint8_t, 6> address{};
};

}  // namespace platform
