// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "BrivaneSDK/BVNetwork.h"
#include "BrivaneSDK/BVUtil.h"
#include "BrivaneSDK/BrivaneSDK.h"
#include "host/Commands.h"
#include "host/KeptAnswers.h"
#include "host/RecordJSON.h"
#include "host/Screen.h"
#include "host/Session.h"
#include "host/WarningPreferences.h"
#include "platform/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/json/SimdJSON.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"

namespace host {
namespace {

/// This command asks for no property list.
class NoPropertyList final : public platform::PropertyList {
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view /*key*/) const override {
    return std::nullopt;
  }
};

void installServices(Screen& screen) {
  platform::install(
      {.http = std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{}),
       .json = std::make_shared<platform::SimdJSON>(),
       .preferences = std::make_shared<WarningPreferences>(screen),
       .propertyList = std::make_shared<NoPropertyList>(),
       .location = locationWithoutSources(),
       .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
       .randomUUID = std::make_shared<platform::SystemRandomUUID>(),
       .log = nullptr});
}

std::int64_t keptAnswers(Screen& screen) {
  if (!std::filesystem::exists(platform::AnswerStore::pathFor("brivane"))) return 0;
  return openAnswers([&screen](const std::string& fault) { screen.complain(fault); })->count();
}

}  // namespace

void info(const InfoOptions& options, Screen& screen) {
  installServices(screen);
  const platform::JSONValue::Object facts = {
      {"installation", BVUtil::getInstallationID().value_or("")},
      {"model", BVUtil::getModel()},
      {"service", BVNetwork::apiHost()},
      {"region", BVNetwork::proximityUUID()},
      {"library", "BrivaneSDK " BRIVANE_VERSION},
      {"transport", platform::CurlHTTPClient::version()},
      {"answers", keptAnswers(screen)}};
  if (options.json) {
    screen.print(jsonLine(facts));
    return;
  }
  for (const auto& [name, value] : facts) {
    const std::string label = name + std::string(14 - name.size(), ' ');
    const bool isText = value.kind() == platform::JSONValue::Kind::kText;
    screen.print(label + (isText ? value.text() : std::to_string(value.integer()) + " kept"));
  }
}

}  // namespace host
