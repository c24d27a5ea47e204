// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include "platform/replay/BtsnoopReader.h"
#include "platform/replay/CaptureError.h"
#include "platform/replay/HCIEvent.h"
#include "tests/fuzz/Input.h"

/// Time never goes back, whatever stands in a capture, and whatever a controller's event holds.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    platform::BtsnoopReader reader(fileWith(data, size));
    platform::UTCTime latest{};
    while (const auto record = reader.next()) {
      require(record->time >= latest && !record->advertisements.empty());
      latest = record->time;
    }
  } catch (const platform::CaptureError&) {
  }
  try {
    platform::advertisementsIn({data, size});
  } catch (const std::invalid_argument&) {
  }
  return 0;
}
