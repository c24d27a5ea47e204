#include <iostream>
#include <span>

#include "BrivaneSDK/DetectionState.h"
#include "tests/fuzz/Input.h"
#include "tests/sdk/ManagerPlay.h"

namespace {

/// As in a process that has just begun, or what an input does would hang on those before it.
void beginAnew() {
  FakeServices& services = FakeServices::get();
  BVAPI::init()->loginWithAPIKey_andSecret("", "");
  while (services.pending() > 1) services.reply(std::nullopt);
  services.reply("{}");  // no token, no session
  DetectionState& state = detectionState();
  for (auto* flag : {&state.isSync, &state.isReady, &state.isRunning, &state.isRanging, &state.isRunningGPS}) {
    *flag = false;
  }
  state.cache.clear();
  state.api.set(nullptr);
  services.take();
  services.requests.clear();
}

}  // namespace

/// Each byte chooses: what hosts, location service and web service do. The managers must do what
/// the model does.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  beginAnew();
  std::span input(data, size);
  ManagerPlay play([&input](unsigned below) {
    const unsigned byte = input.empty() ? 0 : input.front();
    input = input.subspan(input.empty() ? 0 : 1);
    return byte % below;
  });
  while (!input.empty()) {
    const std::string difference = play.step();
    if (!difference.empty()) std::cerr << difference << "\n";
    require(difference.empty());
  }
  return 0;
}
