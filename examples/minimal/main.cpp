// The smallest host: names the places of a recorded walk.
//
// usage: minimal CAPTURE.btsnoop INFO.plist HOST:PORT CA.pem

#include <BrivaneSDK/BrivaneSDK.h>
#include <platform/curl/CurlHTTPClient.h>
#include <platform/files/KeyFilePreferences.h>
#include <platform/files/PlistPropertyList.h>
#include <platform/json/SimdJSON.h>
#include <platform/posix/SystemRandomUUID.h>
#include <platform/posix/UnameDeviceModel.h>
#include <platform/replay/ReplayLocationService.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>

class Host : public BVManagerDelegate {
 public:
  std::atomic<bool> ready = false;

  void didIsReady() override {
    ready = true;
    ready.notify_all();
  }
  void didErrorFound(const std::shared_ptr<const BVError>& error) override {
    std::printf("error %d\n", static_cast<int>(error->errorCode()));
  }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    std::printf("%s\n", match->waybeacon()->name().value_or("?").c_str());
  }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>&) override {}
};

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  auto http = std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
      .connectTo = std::string(BVNetwork::apiHost()) + ":443:" + argv[3], .caFile = argv[4]});
  platform::ReplayLocationService::Options walk;
  walk.capture = argv[1];
  walk.speed = 100.0;
  auto location = std::make_shared<platform::ReplayLocationService>(walk);
  platform::install({.http = http,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<platform::KeyFilePreferences>(
                         platform::KeyFilePreferences::pathFor("org.example.minimal")),
                     .propertyList = std::make_shared<platform::PlistPropertyList>(argv[2]),
                     .location = location,
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
  auto host = std::make_shared<Host>();
  auto manager = BVManager::initWithDelegate(host);
  host->ready.wait(false);
  manager->startDetection();
  location->run(std::chrono::seconds(20));
  manager->stopDetection();
  http->shutdown();
}
