#include "BrivaneSDK/BVInvalidReply.h"
#include "tests/fuzz/Input.h"
#include "tests/sdk/FakeServices.h"

namespace {

template <typename Record>
std::shared_ptr<const Record> parse(const std::string& body) {
  try {
    return Record::parse(body);
  } catch (const BVInvalidReply&) {
    return nullptr;
  }
}

std::string writeAgain(const std::string& written) {
  const auto read = platform::services().json->read(written);
  require(std::holds_alternative<platform::JSONValue>(read));
  return std::get<std::string>(platform::services().json->write(std::get<platform::JSONValue>(read)));
}

}  // namespace

/// A reply becomes a whole record, none, or a fault that says so. What can be read as JSON can be written, and reads
/// back to what writes the same; but "-0" reads as 0.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FakeServices::get().showsLog = false;
  const std::string body(textOf(data, size));
  parse<BVAPILogin>(body);
  parse<BVAPISync>(body);
  parse<BVAPINearest>(body);
  parse<BVAPIPayload>(body);
  const auto resolve = parse<BVAPIResolve>(body);
  require(!resolve || resolve->waybeacon());

  const auto read = platform::services().json->read(body);
  const auto* value = std::get_if<platform::JSONValue>(&read);
  if (value == nullptr) return 0;
  const std::string twice = writeAgain(std::get<std::string>(platform::services().json->write(*value)));
  require(writeAgain(twice) == twice);
  return 0;
}
