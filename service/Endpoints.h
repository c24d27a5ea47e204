// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "service/FormBody.h"
#include "service/Network.h"
#include "service/Tokens.h"

namespace service {

struct Credentials {
  std::string key = "dev-key";
  std::string secret = "dev-secret";
};

struct Reply {
  int status = 200;
  nlohmann::ordered_json body;
};

/// What the service answers, apart from how it travels. Any thread.
class Endpoints {
 public:
  struct Settings {
    Network network;
    Credentials credentials;
    std::chrono::seconds tokenLifetime = std::chrono::hours(1);
    /// Told to clients in a sync.
    std::string publicKey;
    std::function<Tokens::Clock::time_point()> now = &Tokens::Clock::now;
  };

  explicit Endpoints(Settings settings);

  /// The answer to a POST of `body` to `endpoint`, such as "sync/", with the value of the
  /// Authorization header, empty when there is none.
  Reply answer(std::string_view endpoint, std::string_view authorization, std::string_view body);

 private:
  Reply token(std::string_view body);
  Reply sync(std::string_view body) const;
  Reply resolve(std::string_view body) const;
  Reply tracker(std::string_view body) const;
  Reply payload(std::string_view body);
  Reply nearest(std::string_view body) const;

  bool isAuthorized(std::string_view authorization) const;
  nlohmann::ordered_json match(const Network::Beacon& beacon, std::int64_t rssi) const;

  const Settings settings_;
  Tokens tokens_;
  mutable std::mutex mutex_;
  /// What clients attached to beacons, by the beacon's uuid.
  std::map<std::string, nlohmann::ordered_json, std::less<>> payloads_;
};

}  // namespace service
