#include <algorithm>
#include <future>

#include "platform/curl/CurlHTTPClient.h"
#include "service/FormBody.h"
#include "tests/fuzz/Input.h"
#include "tests/sdk/FakeServices.h"

namespace {

/// What becomes of a request for `url` where nobody listens: it fails, once.
void requireFailure(const std::string& url) {
  static platform::CurlHTTPClient client({.connectTo = "::127.0.0.1:1"});
  std::promise<bool> answered;  // throws when it is set twice
  client.execute({.url = url, .method = "POST", .headers = {}, .body = "a=b"},
                 [&answered](const auto& response, const auto& body) { answered.set_value(response || body); });
  require(!answered.get_future().get());
}

}  // namespace

/// Any texts as endpoint and as value: the request's body is ASCII of the length it says, the
/// service reads the value out of it again, and whatever the URL is, curl refuses or tries it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(textOf(data, size));
  FakeServices& services = FakeServices::get();
  BVAPI::init()->request_withData_withCallback(text, {{"value", text}}, [](const auto&, const auto&) {});
  services.reply(std::nullopt);
  services.take();
  const platform::HTTPRequest request = std::exchange(services.requests, {}).back();
  const auto isASCII = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  require(std::ranges::all_of(request.body, isASCII));
  require(request.headers.back() ==
          std::pair<std::string, std::string>("Content-Length", std::to_string(request.body.size())));
  if (std::ranges::all_of(text, isASCII)) {
    require(service::parseFormBody(request.body, {"value"}).at("value") == text);
  }
  requireFailure(request.url);
  requireFailure(text);
  return 0;
}
