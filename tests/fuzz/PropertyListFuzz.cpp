#include <stdexcept>

#include "platform/files/PlistPropertyList.h"
#include "tests/fuzz/Input.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    platform::PlistPropertyList(fileWith(data, size)).objectForInfoDictionaryKey("BrivaneAPIKey");
  } catch (const std::runtime_error&) {
  }
  return 0;
}
