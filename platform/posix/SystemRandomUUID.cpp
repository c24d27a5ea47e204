// SPDX-License-Identifier: Apache-2.0
#include "platform/posix/SystemRandomUUID.h"

#include <random>

namespace platform {

UUID SystemRandomUUID::generate() {
  std::random_device source;
  UUID::Bytes bytes{};
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(source());
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);  // version 4: random
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);  // the usual variant
  return UUID(bytes);
}

}  // namespace platform
