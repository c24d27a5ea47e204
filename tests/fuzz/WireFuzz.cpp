// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/json/SimdJSON.h"
#include "testing/Phone.h"
#include "tests/fuzz/Input.h"

namespace {

/// With the log, which has texts of its own to make of what comes.
struct FuzzedPhone : brivane::testing::Phone {
  FuzzedPhone() { platform::install(services(std::make_shared<platform::SimdJSON>())); }
} phone;

/// A reply becomes a whole record, none, or a fault that says so.
template <typename Record>
std::shared_ptr<const Record> parse(const std::string& body) try {
  return Record::parse(body);
} catch (const BVInvalidReply&) {
  return nullptr;
}

/// What can be read as JSON can be written, and reads back to what writes the same; but "-0" reads as 0.
void readAndWrite(std::string text) {
  const auto& json = *platform::services().json;
  for (int round = 0; round < 3; ++round) {
    const auto read = json.read(text);
    const auto* value = std::get_if<platform::JSONValue>(&read);
    require(value != nullptr || round == 0);
    if (value == nullptr) return;
    std::string written = std::get<std::string>(json.write(*value));
    require(written == text || round < 2);
    text = std::move(written);
  }
}

/// Whatever a host's texts are, the body of a request is ASCII and as long as the request says.
void request(const std::string& text) {
  BVAPI::init()->request_withData_withCallback("sync/", {{"value", text}}, [](const auto&, const auto&) {});
  phone.http->reply({});
  const platform::HTTPRequest sent = phone.http->takeRequests().back();
  const auto isASCII = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  require(std::ranges::all_of(sent.body, isASCII));
  require(sent.headers.back().second == std::to_string(sent.body.size()));
  require(!std::ranges::all_of(text, isASCII) || sent.body == "value=" + text);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  parse<BVAPILogin>(text);
  parse<BVAPISync>(text);
  parse<BVAPINearest>(text);
  parse<BVAPIPayload>(text);
  const auto resolve = parse<BVAPIResolve>(text);
  require(!resolve || resolve->waybeacon());
  readAndWrite(text);
  request(text);
  phone.journal->take();
  return 0;
}
