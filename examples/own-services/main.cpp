// SPDX-License-Identifier: Apache-2.0

// A host with an HTTP client and a location service of its own: names the places of a walk.
//
// usage: own-services CAPTURE.btsnoop INFO.plist HOST:PORT CA.pem

#include <BrivaneSDK/BrivaneSDK.h>
#include <platform/files/KeyFilePreferences.h>
#include <platform/files/PlistPropertyList.h>
#include <platform/json/SimdJSON.h>
#include <platform/posix/SystemRandomUUID.h>
#include <platform/posix/UnameDeviceModel.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <future>
#include <memory>

#include "OwnHTTPClient.h"
#include "OwnLocation.h"

namespace {

class Host : public BVManagerDelegate {
 public:
  std::promise<void> ready;

  void didIsReady() override { ready.set_value(); }
  void didErrorFound(const std::shared_ptr<const BVError>&) override {}
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    if (const auto name = match->waybeacon()->name()) std::printf("%s\n", name->c_str());
  }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>&) override {}
};

int walk(char** arguments) {
  auto http = std::make_shared<OwnHTTPClient>(arguments[2], arguments[3]);
  auto location = ownLocation();
  platform::install({.http = http,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<platform::KeyFilePreferences>(
                         platform::KeyFilePreferences::pathFor("org.example.own-services")),
                     .propertyList = std::make_shared<platform::PlistPropertyList>(arguments[1]),
                     .location = location,
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
  auto host = std::make_shared<Host>();
  auto ready = host->ready.get_future();
  auto manager = BVManager::initWithDelegate(host);
  if (ready.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
    std::fprintf(stderr, "own-services: the service does not let this host in\n");
    return 1;
  }
  manager->startDetection();
  listen(*location, arguments[0], 100.0);
  manager->stopDetection();
  http->shutdown();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: own-services CAPTURE.btsnoop INFO.plist HOST:PORT CA.pem\n");
    return 2;
  }
  try {
    return walk(argv + 1);
  } catch (const std::exception& fault) {  // a file that cannot be read, or lacks the credentials
    std::fprintf(stderr, "own-services: %s\n", fault.what());
    return 2;
  }
}
