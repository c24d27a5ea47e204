// SPDX-License-Identifier: Apache-2.0

// The smallest host without a radio: names the places of a recorded walk.
//
// usage: replay CAPTURE.btsnoop INFO.plist HOST:PORT CA.pem

#include <BrivaneSDK/BrivaneSDK.h>
#include <platform/curl/CurlHTTPClient.h>
#include <platform/files/KeyFilePreferences.h>
#include <platform/files/PlistPropertyList.h>
#include <platform/json/SimdJSON.h>
#include <platform/posix/SystemRandomUUID.h>
#include <platform/posix/UnameDeviceModel.h>
#include <platform/replay/ReplayLocationService.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <future>
#include <memory>
#include <string>

using namespace std::chrono_literals;

class Host : public BVManagerDelegate {
 public:
  /// Whether the service lets this host in, as soon as that is known.
  std::future<bool> ready() { return ready_.get_future(); }

  /// The library tells nothing of requests that fail; the HTTP client does.
  void noteTransfer(const platform::TransferOutcome& outcome) {
    if (outcome.status.value_or(0) == 200) return;
    const std::string fault =
        outcome.status ? "status " + std::to_string(*outcome.status) : outcome.fault;
    std::fprintf(stderr, "replay: the service: %s\n", fault.c_str());
    settle(false);
  }

  void didIsReady() override { settle(true); }
  void didErrorFound(const std::shared_ptr<const BVError>& error) override {
    std::fprintf(stderr, "replay: %s\n",
                 error->errorString().value_or("positions are off").c_str());
  }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    if (const auto name = match->waybeacon()->name()) std::printf("%s\n", name->c_str());
  }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>&) override {}

 private:
  void settle(bool isReady) {
    if (!settled_.exchange(true)) ready_.set_value(isReady);
  }

  std::atomic<bool> settled_ = false;
  std::promise<bool> ready_;
};

int walk(const char* capture, const char* info, const std::string& address,
         const char* certificates) {
  auto host = std::make_shared<Host>();
  auto http = std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
      .connectTo = std::string(BVNetwork::apiHost()) + ":443:" + address,
      .caFile = certificates,
      .onTransfer = [host](const platform::TransferOutcome& outcome) {
        host->noteTransfer(outcome);
      }});
  platform::ReplayLocationService::Options recording;
  recording.capture = capture;
  recording.speed = 100.0;
  auto location = std::make_shared<platform::ReplayLocationService>(recording);
  platform::install({.http = http,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<platform::KeyFilePreferences>(
                         platform::KeyFilePreferences::pathFor("org.example.replay")),
                     .propertyList = std::make_shared<platform::PlistPropertyList>(info),
                     .location = location,
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
  auto ready = host->ready();
  auto manager = BVManager::initWithDelegate(host);
  const bool isIn = ready.wait_for(30s) == std::future_status::ready && ready.get();
  if (isIn) {
    manager->startDetection();
    location->run();
    manager->stopDetection();
  }
  http->shutdown();
  return isIn ? 0 : 1;
}

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: replay CAPTURE.btsnoop INFO.plist HOST:PORT CA.pem\n");
    return 2;
  }
  try {
    return walk(argv[1], argv[2], argv[3], argv[4]);
  } catch (const std::exception& fault) {  // a file that cannot be read, or lacks the credentials
    std::fprintf(stderr, "replay: %s\n", fault.what());
    return 2;
  }
}
