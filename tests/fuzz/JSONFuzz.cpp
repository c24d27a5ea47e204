#include "platform/json/SimdJSON.h"
#include "tests/fuzz/Input.h"

std::string writeAgain(const platform::SimdJSON& json, const std::string& written) {
  const auto read = json.read(written);
  require(std::holds_alternative<platform::JSONValue>(read));
  return std::get<std::string>(json.write(std::get<platform::JSONValue>(read)));
}

/// What can be read can be written, and reads back to what writes the same; but "-0" reads as 0.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const platform::SimdJSON json;
  const auto read = json.read(textOf(data, size));
  const auto* value = std::get_if<platform::JSONValue>(&read);
  if (value == nullptr) return 0;
  const auto written = json.write(*value);
  require(std::holds_alternative<std::string>(written));
  const std::string twice = writeAgain(json, std::get<std::string>(written));
  require(writeAgain(json, twice) == twice);
  return 0;
}
