#pragma once

#include <cstdint>

#include "platform/UUID.h"
#include "platform/location/Advertisement.h"

inline const platform::UUID kNetwork =
    platform::UUID::initWithUUIDString("5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385").value();

/// An iBeacon frame with a measured power of -59 dBm, as a radio heard it.
inline platform::Advertisement beaconFrame(const platform::UUID& uuid, std::uint16_t major, std::uint16_t minor,
                                           int rssi) {
  const auto high = [](std::uint16_t number) { return static_cast<std::uint8_t>(number >> 8U); };
  const auto low = [](std::uint16_t number) { return static_cast<std::uint8_t>(number & 0xFFU); };
  platform::Advertisement heard{.company = 0x004C, .data = {}, .rssi = rssi};
  heard.data.reserve(23);
  heard.data.push_back(0x02);
  heard.data.push_back(0x15);
  for (const std::uint8_t byte : uuid.bytes()) heard.data.push_back(byte);
  for (const std::uint8_t byte : {high(major), low(major), high(minor), low(minor)}) {
    heard.data.push_back(byte);
  }
  heard.data.push_back(0xC5);
  return heard;
}
