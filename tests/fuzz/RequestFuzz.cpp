#include <algorithm>

#include "tests/fuzz/Input.h"
#include "tests/sdk/FakeServices.h"

/// Whatever a host's texts are, the body of a request is ASCII and as long as the request says.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FakeServices& services = FakeServices::get();
  const std::string text(textOf(data, size));
  BVAPI::init()->request_withData_withCallback("sync/", {{"value", text}}, [](const auto&, const auto&) {});
  services.reply(std::nullopt);
  services.take();
  const platform::HTTPRequest request = std::exchange(services.requests, {}).back();
  const auto isASCII = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  require(std::ranges::all_of(request.body, isASCII));
  require(request.headers.back().second == std::to_string(request.body.size()));
  require(!std::ranges::all_of(text, isASCII) || request.body == "value=" + text);
  return 0;
}
