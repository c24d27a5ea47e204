// SPDX-License-Identifier: Apache-2.0
#include "platform/Services.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "BrivaneSDK/BVNetwork.h"
#include "BrivaneSDK/BVUtil.h"
#include "bindings/c/Failure.h"
#include "bindings/c/HostServices.h"
#include "platform/DeviceModel.h"
#include "platform/JSONValue.h"
#include "platform/Log.h"
#include "platform/Preferences.h"
#include "platform/PropertyList.h"
#include "platform/json/SimdJSON.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"

struct brivane_text {
  std::optional<std::string> value;
};

namespace brivane::internal {
namespace {

/// The text that a host's `get` gives for a key.
template <typename Table>
std::optional<std::string> get(const Table& table, std::string_view key) {
  brivane_text text;
  table.get(table.user, std::string(key).c_str(), &text);
  return text.value;
}

class HostPreferences final : public platform::Preferences {
 public:
  explicit HostPreferences(const brivane_preferences& table) : table_(table) {
    require(table.get && table.set && table.synchronize, "a function of preferences");
  }
  std::optional<platform::JSONValue> objectForKey(std::string_view key) const override {
    const auto text = get(table_, key);
    return text ? std::optional(platform::JSONValue(*text)) : std::nullopt;
  }
  std::optional<std::string> stringForKey(std::string_view key) const override {
    return get(table_, key);
  }
  void setValue_forKey(std::string_view value, std::string_view key) override {
    table_.set(table_.user, std::string(key).c_str(), std::string(value).c_str());
  }
  bool synchronize() override { return table_.synchronize(table_.user); }

 private:
  const brivane_preferences table_;
};

class HostPropertyList final : public platform::PropertyList {
 public:
  explicit HostPropertyList(const brivane_property_list& table) : table_(table) {
    require(table.get != nullptr, "property_list.get");
  }
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    return get(table_, key);
  }

 private:
  const brivane_property_list table_;
};

class HostLog final : public platform::Log {
 public:
  explicit HostLog(const brivane_log& table) : table_(table) {
    require(table.write != nullptr, "log.write");
  }
  void write(std::string_view line) override {
    table_.write(table_.user, std::string(line).c_str());
  }

 private:
  const brivane_log table_;
};

class HostDeviceModel final : public platform::DeviceModel {
 public:
  explicit HostDeviceModel(const char* model) : model_(model) {}
  std::string model() const override { return model_; }

 private:
  const std::string model_;
};

platform::Services servicesOf(const brivane_services& given) {
  auto all = given.adapters != nullptr ? given.adapters->services : platform::Services();
  all.randomUUID = std::make_shared<platform::SystemRandomUUID>();
  all.deviceModel = std::make_shared<platform::UnameDeviceModel>();
  all.json = given.json ? hostJSON(*given.json) : std::make_shared<platform::SimdJSON>();
  if (given.http) all.http = hostHTTPClient(*given.http);
  if (given.preferences) all.preferences = std::make_shared<HostPreferences>(*given.preferences);
  if (given.property_list) {
    all.propertyList = std::make_shared<HostPropertyList>(*given.property_list);
  }
  if (given.log) all.log = std::make_shared<HostLog>(*given.log);
  if (given.device_model) all.deviceModel = std::make_shared<HostDeviceModel>(given.device_model);
  if (given.location && given.live) {
    throw std::invalid_argument("location and live are both given: only one can serve");
  }
  if (given.location) all.location = hostLocation(*given.location);
  if (given.live) all.location = given.live->service;
  require(all.http != nullptr, "http");
  require(all.preferences != nullptr, "preferences");
  require(all.propertyList != nullptr, "property_list");
  require(all.location != nullptr, "location or live");
  return all;
}

}  // namespace
}  // namespace brivane::internal

using namespace brivane::internal;

const char* brivane_version() { return BRIVANE_VERSION; }
const char* brivane_api_host() { return BVNetwork::apiHost(); }
const char* brivane_proximity_uuid() { return BVNetwork::proximityUUID(); }

void brivane_text_set(brivane_text* to, const char* text) {
  quietly([&] { to->value = text != nullptr ? std::optional<std::string>(text) : std::nullopt; });
}

brivane_status brivane_install(const brivane_services* services, brivane_failure* failure) {
  return guarded(failure, [&] { platform::install(servicesOf(required(services, "services"))); });
}

bool brivane_installation_id(char uuid[37]) {
  return quietly([&] {
    const auto text = BVUtil::getInstallationID();
    if (!text || text->size() != 36) return false;
    uuid[text->copy(uuid, 36)] = '\0';
    return true;
  });
}
