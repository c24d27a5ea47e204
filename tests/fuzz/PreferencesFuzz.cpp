#include <stdexcept>

#include "platform/files/KeyFilePreferences.h"
#include "tests/fuzz/Input.h"

/// Whatever stood in the file, what is stored is found again; a file that cannot be read is left
/// alone.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = fileWith(data, size);
  try {
    platform::KeyFilePreferences preferences(path);
    preferences.stringForKey("installUUID");
    preferences.objectForKey("installUUID");
    preferences.setValue_forKey("x=\n;ñ", "installUUID");
    require(preferences.synchronize());
    require(platform::KeyFilePreferences(path).stringForKey("installUUID") == "x=\n;ñ");
  } catch (const std::runtime_error&) {
  }
  return 0;
}
