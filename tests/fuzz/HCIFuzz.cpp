#include <stdexcept>

#include "platform/location/IBeaconFrame.h"
#include "platform/replay/HCIEvent.h"
#include "tests/fuzz/Input.h"

/// Whatever a controller sends.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    for (const auto& advertisement : platform::advertisementsIn({data, size})) {
      platform::IBeaconFrame::parse(advertisement);
    }
  } catch (const std::invalid_argument&) {
  }
  return 0;
}
