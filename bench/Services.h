#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/Services.h"
#include "platform/json/SimdJSON.h"
#include "platform/location/LocationCore.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"
#include "tests/support/Frames.h"

/// What the library's surroundings are in a benchmark: as cheap as they can be, so that its own
/// cost shows. Services are installed once a process.
namespace bench {

/// Sends through whichever client is in it; without one, requests are dropped.
class Http final : public platform::HTTPClient {
 public:
  void execute(platform::HTTPRequest request, Completion completion) override {
    if (client) client->execute(std::move(request), std::move(completion));
  }

  std::shared_ptr<platform::HTTPClient> client;
};

/// Counts the lines.
class Sink final : public platform::Log {
 public:
  void write(std::string_view /*line*/) override { ++lines; }

  std::int64_t lines = 0;
};

class Memory final : public platform::Preferences, public platform::PropertyList {
 public:
  std::optional<platform::JSONValue> objectForKey(std::string_view key) const override {
    auto text = stringForKey(key);
    return text ? std::optional<platform::JSONValue>(*std::move(text)) : std::nullopt;
  }
  std::optional<std::string> stringForKey(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    const auto found = texts_.find(key);
    return found == texts_.end() ? std::nullopt : std::optional(found->second);
  }
  void setValue_forKey(std::string_view value, std::string_view key) override {
    const std::lock_guard lock(mutex_);
    texts_[std::string(key)] = value;
  }
  bool synchronize() override { return true; }
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view /*key*/) const override {
    return "for the user";
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::string, std::less<>> texts_;
};

inline void install(std::shared_ptr<platform::HTTPClient> http,
                    std::shared_ptr<platform::Log> log = nullptr) {
  const auto memory = std::make_shared<Memory>();
  platform::install({.http = std::move(http),
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = memory,
                     .propertyList = memory,
                     .location = std::make_shared<platform::LocationCore>(
                         platform::LocationCore::Options{.permission = platform::alwaysPermitted}),
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>(),
                     .log = std::move(log)});
}

/// The i-th beacon of the network.
inline platform::CLBeacon beacon(int i) {
  static const platform::UUID network =
      platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value();
  platform::CLBeacon beacon;
  beacon.proximityUUID = network;
  beacon.major = 1 + i / 50'000;
  beacon.minor = i % 50'000;
  beacon.rssi = -60;
  return beacon;
}

inline std::vector<platform::CLBeacon> beacons(int count) {
  std::vector<platform::CLBeacon> all;
  for (int i = 0; i < count; ++i) all.push_back(beacon(i));
  return all;
}

/// What the i-th beacon sends.
inline platform::Advertisement frame(int i, int rssi) {
  const platform::CLBeacon sender = beacon(i);
  return beaconFrame(sender.proximityUUID, static_cast<std::uint16_t>(sender.major),
                     static_cast<std::uint16_t>(sender.minor), rssi);
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

/// The reply of the service to a resolve of the i-th beacon.
inline std::string resolveReply(int i) {
  const std::string number = std::to_string(i);
  return R"({"status":true,"beacon":{"match":"old-town-)" + number +
         R"(","rssi":-60,"proximity":"near","waybeacon":{"uuid":"old-town-)" + number +
         R"(","name":"Panadería La Espiga )" + number +
         R"(","location":"Junto a la puerta, a la izquierda",)"
         R"("accesibility":"Un escalón de 12 cm; el timbre está a la altura de la mano derecha.",)"
         R"("url":"https://old-town.example/)" +
         number + R"(","latitude":41.65219,"longitude":-4.727923,"payload":{"floor":0}}}})";
}

/// The reply of the service to a search for the nearest places.
inline std::string nearestReply(int places) {
  std::string reply = R"({"beacons":[)";
  for (int i = 0; i < places; ++i) {
    const std::string number = std::to_string(i);
    if (i > 0) reply += ',';
    reply += R"({"distance":)" + number + R"(.416,"local":{"name":"Panadería La Espiga )" + number +
             R"(","city":"Villavieja de la Peña","category":"comercio",)"
             R"("address":"Calle del Puente, )" +
             number + R"(","phone":"+34 983 555 002","web":"https://old-town.example/",)" +
             R"("email":"lugar)" + number + R"(@old-town.example","zip":47001}})";
  }
  return reply + "]}";
}

}  // namespace bench
