// The smallest host up to its first request. Prints when `main` began, in nanoseconds of the
// monotonic clock; runs until it is ended. With "plain", a program that has nothing but libcurl.
//
// usage: StartHost library|plain INFO.plist HOST:PORT CA.pem
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "bench/PlainClient.h"
#include "bench/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"

int main(int argc, char** argv) {
  const auto began = std::chrono::steady_clock::now().time_since_epoch();
  if (argc != 5) return 2;
  std::printf("%lld\n", static_cast<long long>(std::chrono::nanoseconds(began).count()));
  std::fflush(stdout);
  const std::string connectTo = std::string(BVNetwork::apiHost()) + ":443:" + argv[3];
  if (argv[1] == std::string("plain")) {
    bench::PlainClient(connectTo, argv[4], 1).post({{BVAPI::getEPURL("oauth2/token/"), "a=b"}});
    return 0;
  }
  platform::install(
      {.http = std::make_shared<platform::CurlHTTPClient>(
           platform::CurlHTTPClient::Options{.connectTo = connectTo, .caFile = argv[4]}),
       .json = std::make_shared<platform::SimdJSON>(),
       .preferences = std::make_shared<platform::KeyFilePreferences>(
           platform::KeyFilePreferences::pathFor("brivane-bench")),
       .propertyList = std::make_shared<platform::PlistPropertyList>(argv[2]),
       .location = std::make_shared<platform::LocationCore>(platform::LocationCore::Options{}),
       .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
       .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
  const auto manager = BVManager::initWithDelegate(std::make_shared<bench::Host>());
  pause();
}
