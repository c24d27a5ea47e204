// SPDX-License-Identifier: Apache-2.0
#include "testing/Phone.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "testing/BeginAnew.h"
#include "testing/CountedUUIDs.h"
#include "testing/FixedDeviceModel.h"

namespace brivane::testing {
namespace {

constexpr platform::Duration kStep = std::chrono::milliseconds(100);

}  // namespace

Phone::Phone()
    : journal(std::make_shared<Journal>()),
      http(std::make_shared<ScriptedHTTPClient>(journal)),
      preferences(std::make_shared<MemoryPreferences>()),
      propertyList(std::make_shared<FixedPropertyList>()),
      loop(std::make_shared<VirtualLoop>()),
      radio(loop),
      positions(loop),
      location(std::make_shared<platform::LiveLocationService>(
          platform::LiveLocationService::Sources{
              .eventLoop = [this] { return loop; },
              .radio = [this](auto& listener) { return radio.create(listener); },
              .positions = [this](auto& listener) { return positions.create(listener); }},
          platform::LiveLocationService::Options{.log = journal})) {
  beginAnew();
  http->script("oauth2/token/", {R"({"access_token":"token","expires_in":3600})"});
  http->script("sync/", {R"({"status":true})"});
}

Phone::~Phone() {
  http->shutdown();
  beginAnew();
}

platform::Services Phone::services(std::shared_ptr<platform::JSON> json) const {
  return {.http = http,
          .json = std::move(json),
          .preferences = preferences,
          .propertyList = propertyList,
          .location = location,
          .deviceModel = std::make_shared<FixedDeviceModel>("test"),
          .randomUUID = std::make_shared<CountedUUIDs>(),
          .log = journal};
}

void Phone::advance(platform::Duration time, const std::vector<platform::Advertisement>& onAir) {
  for (platform::Duration step; time > platform::Duration::zero(); time -= step) {
    step = std::min(time, kStep);
    for (const platform::Advertisement& each : onAir) radio.hear(each);
    http->deliver();
    loop->advance(step);
  }
  http->deliver();
}

}  // namespace brivane::testing
