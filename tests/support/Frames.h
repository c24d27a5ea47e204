// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "platform/UUID.h"
#include "platform/location/Advertisement.h"

inline const platform::UUID kNetwork =
    platform::UUID::initWithUUIDString("5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385").value();

/// An iBeacon frame with a measured power of -59 dBm, as a radio heard it.
inline platform::Advertisement beaconFrame(const platform::UUID& uuid, std::uint16_t major, std::uint16_t minor,
                                           int rssi) {
  platform::Advertisement heard{.company = 0x004C, .data = std::vector<std::uint8_t>(23, 0xC5), .rssi = rssi};
  heard.data[0] = 0x02;
  heard.data[1] = 0x15;
  std::copy(uuid.bytes().begin(), uuid.bytes().end(), heard.data.begin() + 2);
  heard.data[18] = static_cast<std::uint8_t>(major >> 8U);
  heard.data[19] = static_cast<std::uint8_t>(major & 0xFFU);
  heard.data[20] = static_cast<std::uint8_t>(minor >> 8U);
  heard.data[21] = static_cast<std::uint8_t>(minor & 0xFFU);
  return heard;
}
