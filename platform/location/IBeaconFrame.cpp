// SPDX-License-Identifier: Apache-2.0
#include "platform/location/IBeaconFrame.h"

#include <algorithm>
#include <cstddef>

namespace platform {
namespace {

constexpr std::uint8_t kType = 0x02;
constexpr std::uint8_t kLength = 0x15;
static_assert(IBeaconFrame::kSize == 2 + kLength);

std::uint16_t bigEndian(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
}

}  // namespace

std::optional<IBeaconFrame> IBeaconFrame::parse(const Advertisement& advertisement) {
  const auto& data = advertisement.data;
  if (advertisement.company != kCompany || data.size() != kSize || data[0] != kType ||
      data[1] != kLength) {
    return std::nullopt;
  }
  UUID::Bytes uuid{};
  std::copy_n(data.begin() + 2, uuid.size(), uuid.begin());
  return IBeaconFrame{.proximityUUID = UUID(uuid),
                      .major = bigEndian(&data[18]),
                      .minor = bigEndian(&data[20]),
                      .measuredPower = static_cast<std::int8_t>(data[22])};
}

}  // namespace platform
