// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BrivaneSDK/BrivaneSDK.h"
#include "bench/Replies.h"
#include "platform/Services.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/json/SimdJSON.h"
#include "platform/location/LocationCore.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"

/// What the library's surroundings are in a benchmark. Services are installed once a process.
namespace bench {

/// Answers each request at once, inside the call.
class Service final : public platform::HTTPClient {
 public:
  void execute(platform::HTTPRequest request, Completion completion) override {
    std::string reply = R"({"access_token":"t","status":true})";
    if (request.url.ends_with("resolve/")) {
      reply = resolveReply(resolved++);
      bytes += reply.size();
    }
    completion(platform::HTTPResponse{200}, std::move(reply));
  }

  int resolved = 0;
  /// Of the replies to a resolve.
  std::size_t bytes = 0;
};

/// For a program that runs in the project's folder.
inline void install(std::shared_ptr<platform::HTTPClient> http) {
  platform::install(
      {.http = std::move(http),
       .json = std::make_shared<platform::SimdJSON>(),
       .preferences = std::make_shared<platform::KeyFilePreferences>(
           platform::KeyFilePreferences::pathFor("brivane-bench")),
       .propertyList = std::make_shared<platform::PlistPropertyList>("walks/Info.plist"),
       .location = std::make_shared<platform::LocationCore>(
           platform::LocationCore::Options{.permission = platform::alwaysPermitted}),
       .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
       .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
}

/// So many beacons of the network, all different.
inline std::vector<platform::CLBeacon> beacons(int count) {
  platform::CLBeacon beacon;
  beacon.proximityUUID = platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value();
  beacon.rssi = -60;
  std::vector<platform::CLBeacon> all;
  for (int i = 0; i < count; ++i) {
    beacon.major = 1 + i / 50'000;
    beacon.minor = i % 50'000;
    all.push_back(beacon);
  }
  return all;
}

/// The key of a beacon in a map of a host's own.
inline std::string keyOf(const platform::CLBeacon& beacon) {
  return BVUtil::getHash_andMajor_andMinor(beacon.proximityUUID.UUIDString(), beacon.major,
                                           beacon.minor);
}

/// The location service's report of beacons that are in range.
inline void report(BVManager& manager, const std::vector<platform::CLBeacon>& beacons) {
  manager.locationManager_didRangeBeacons_inRegion(*manager.locationManager(), beacons,
                                                   *manager.getRegion());
}

/// A host that counts what it hears.
class Host : public BVManagerDelegate {
 public:
  void didIsReady() override {}
  void didErrorFound(const std::shared_ptr<const BVError>& /*error*/) override {}
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override { ++matches; }
  void didNearestWaybeacons(
      const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override {}

  std::int64_t matches = 0;
};

}  // namespace bench
