// SPDX-License-Identifier: Apache-2.0
#include "testing/CountedUUIDs.h"

namespace brivane::testing {

platform::UUID CountedUUIDs::generate() {
  std::uint32_t number = ++last_;
  platform::UUID::Bytes bytes{};
  bytes[6] = 0x40;  // version 4
  bytes[8] = 0x80;  // of the usual variant
  for (std::size_t at = bytes.size(); number != 0; number >>= 8U) {
    bytes[--at] = static_cast<std::uint8_t>(number);
  }
  return platform::UUID(bytes);
}

}  // namespace brivane::testing
