// SPDX-License-Identifier: Apache-2.0
#include "testing/BeaconFrame.h"

#include <vector>

#include "BrivaneSDK/BVNetwork.h"
#include "platform/location/IBeaconFrame.h"

namespace brivane::testing {
namespace {

constexpr int kMeasuredPower = 0xC5;  // -59 dBm

}  // namespace

platform::UUID networkUUID() {
  return platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value();
}

platform::Advertisement beaconFrame(const platform::UUID& uuid, std::uint16_t major,
                                    std::uint16_t minor, int rssi) {
  platform::Advertisement heard{.company = platform::IBeaconFrame::kCompany,
                                .data = std::vector<std::uint8_t>(platform::IBeaconFrame::kSize),
                                .rssi = rssi};
  auto at = heard.data.begin();
  const auto append = [&at](int byte) { *at++ = static_cast<std::uint8_t>(byte); };
  append(0x02);
  append(0x15);
  for (const std::uint8_t byte : uuid.bytes()) append(byte);
  for (const std::uint16_t number : {major, minor}) {
    append(number >> 8);
    append(number & 0xFF);
  }
  append(kMeasuredPower);
  return heard;
}

platform::Advertisement networkFrame(std::uint16_t major, std::uint16_t minor, int rssi) {
  static const platform::UUID network = networkUUID();
  return beaconFrame(network, major, minor, rssi);
}

}  // namespace brivane::testing
