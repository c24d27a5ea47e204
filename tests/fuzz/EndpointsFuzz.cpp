#include "service/Endpoints.h"
#include "tests/fuzz/Input.h"

namespace {

constexpr const char* kNetwork =
    R"({"places":[{"name":"P","city":"","category":"","address":"","phone":"","web":"",
  "email":"","zip":1,"latitude":40.0,"longitude":-3.0,"beacons":[{"uuid":"u","major":1,"minor":2,"name":"n",
  "location":"","accesibility":"","url":"","latitude":40.0,"longitude":-3.0,"payload":{}}]}]})";

service::Endpoints& endpoints() {
  static service::Endpoints only(
      {.network = service::Network::parse("n", kNetwork), .credentials = {}, .publicKey = "k"});
  return only;
}

std::string token() {
  const auto reply = endpoints().answer("oauth2/token/", "",
                                        "grant_type=client_credentials&client_id=dev-key&client_secret=dev-secret");
  return "Bearer " + reply.body.at("access_token").get<std::string>();
}

}  // namespace

/// A request's body, to the endpoint that the first byte chooses, gets an answer that can be
/// written.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string authorization = token();
  if (size == 0) return 0;
  constexpr const char* kEndpoints[] = {"oauth2/token/", "sync/", "resolve/", "tracker/", "payload/", "nearest/"};
  const auto reply = endpoints().answer(kEndpoints[data[0] % 6], authorization, textOf(data + 1, size - 1));
  require(!reply.body.dump().empty());
  return 0;
}
