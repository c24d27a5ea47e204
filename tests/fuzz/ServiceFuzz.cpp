#include "service/FormBody.h"
#include "service/Network.h"
#include "tests/fuzz/Input.h"

/// A network file and a request's body.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf(data, size);
  for (const auto& [key, value] : service::parseFormBody(text, {"uuid", "major", "minor", "rssi", "batt"})) {
    require(text.find(value) != std::string_view::npos);
  }
  try {
    const auto network = service::Network::parse("n", text);
    network.nearest({41.65, -4.72}, 1e6);
    network.placesWithin({41.65, -4.72}, 1e6);
  } catch (const service::NetworkError&) {
  }
  return 0;
}
