#include "platform/replay/CaptureError.h"
#include "platform/replay/GpxTrack.h"
#include "tests/fuzz/Input.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    platform::readGpxTrack(fileWith(data, size));
  } catch (const platform::CaptureError&) {
  }
  return 0;
}
