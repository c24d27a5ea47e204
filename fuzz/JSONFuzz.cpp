#include "fuzz/Input.h"
#include "platform/linux/SimdJSON.h"

/// What can be read can be written, and reads back to what writes the same.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const platform::SimdJSON json;
  const auto read = json.read(textOf(data, size));
  const auto* value = std::get_if<platform::JSONValue>(&read);
  if (value == nullptr) return 0;
  const auto written = json.write(*value);
  require(std::holds_alternative<std::string>(written));
  const auto again = json.read(std::get<std::string>(written));
  require(std::holds_alternative<platform::JSONValue>(again));
  const auto twice = json.write(std::get<platform::JSONValue>(again));
  require(std::get<std::string>(twice) == std::get<std::string>(written));
  return 0;
}
