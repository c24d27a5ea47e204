// SPDX-License-Identifier: Apache-2.0
// What hosts test with keeps the contracts that the real adapters keep.
#include "testing/Phone.h"
#include "testing/contracts/EventLoopContract.h"
#include "testing/contracts/HTTPClientContract.h"
#include "testing/contracts/LocationServiceContract.h"
#include "testing/contracts/PositionSourceContract.h"
#include "testing/contracts/PreferencesContract.h"
#include "testing/contracts/PropertyListContract.h"
#include "testing/contracts/RadioContract.h"

namespace {

using namespace std::chrono_literals;
using namespace brivane::testing;

struct Scripted {
  std::shared_ptr<platform::HTTPClient> create() {
    auto client = std::make_shared<ScriptedHTTPClient>();
    client->script("/echo", [](const auto& request) { return ScriptedHTTPClient::Reply{request.body}; });
    client->script("/headers", [](const auto& request) {
      std::string lines;
      for (const auto& [name, value] : request.headers) {
        if (name.starts_with("X-")) lines += name + ": " + value + "\n";
      }
      return ScriptedHTTPClient::Reply{lines};
    });
    client->script("/refused", {"no", 500});
    client->script("/cut", ScriptedHTTPClient::Reply{});
    latest = client;
    return client;
  }
  static std::string url(const std::string& path) { return "https://service" + path; }
  void waitUntil(const std::function<bool()>& done) {
    while (!done()) latest.lock()->deliver();
  }
  std::weak_ptr<ScriptedHTTPClient> latest;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Scripted, HTTPClientContract, Scripted);

struct InMemory {
  std::shared_ptr<platform::Preferences> open() { return only; }
  const std::shared_ptr<MemoryPreferences> only = std::make_shared<MemoryPreferences>();
};
INSTANTIATE_TYPED_TEST_SUITE_P(InMemory, PreferencesContract, InMemory);

struct Fixed {
  static std::shared_ptr<platform::PropertyList> open() {
    return std::make_shared<FixedPropertyList>(FixedPropertyList::Entries{{"text", "ñ & x"}});
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Fixed, PropertyListContract, Fixed);

struct Virtual {
  std::shared_ptr<platform::EventLoop> loop() const { return only; }
  platform::Instant now() const { return only->now(); }
  void runUntil(const std::function<bool()>& done) {
    for (double latitude = 0; !done(); latitude += 1e-3) {
      only->advance(1ms);
      radio.hear(networkFrame(1, 2, -60));
      positions.locate({.coordinate = {latitude, 0}, .horizontalAccuracy = 5});
    }
  }
  void runAWhile() {
    runUntil([end = only->now() + 1s, this] { return only->now() > end; });
  }
  std::unique_ptr<platform::Radio> create(platform::Radio::Listener& listener) { return radio.create(listener); }
  std::unique_ptr<platform::PositionSource> create(platform::PositionSource::Listener& listener) {
    return positions.create(listener);
  }
  const std::shared_ptr<VirtualLoop> only = std::make_shared<VirtualLoop>();
  VirtualRadio radio{only};
  VirtualPositions positions{only};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, EventLoopContract, Virtual);
INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, RadioContract, Virtual);
INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, PositionSourceContract, Virtual);

struct OnAPhone {
  std::shared_ptr<platform::LocationService> service() const { return phone.location; }
  void pass(platform::Duration time, const std::vector<platform::Advertisement>& onAir) { phone.advance(time, onAir); }
  Phone phone;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Phone, LocationServiceContract, OnAPhone);

}  // namespace
