// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVUtil.h"

#include "BrivaneSDK/NumberText.h"
#include "platform/Preferences.h"
#include "platform/Services.h"

using namespace brivane::internal;

namespace {

constexpr std::string_view kInstallationKey = "installUUID";

}  // namespace

std::string BVUtil::getModel() { return platform::services().deviceModel->model(); }

std::optional<std::string> BVUtil::getInstallationID() {
  platform::Preferences& preferences = *platform::services().preferences;
  if (!preferences.objectForKey(kInstallationKey)) {
    const std::string identifier = platform::services().randomUUID->generate().UUIDString();
    preferences.setValue_forKey(identifier, kInstallationKey);
    // Without permanent storage the identifier still serves until the process ends.
    static_cast<void>(preferences.synchronize());
    return identifier;
  }
  return preferences.stringForKey(kInstallationKey);
}

std::string BVUtil::getHash_andMajor_andMinor(std::string_view uuid, std::int64_t major,
                                              std::int64_t minor) {
  std::string key;
  key.reserve(uuid.size() + sizeof("_65535_65535"));
  key += uuid;
  key += '_';
  appendInteger(key, major);
  key += '_';
  appendInteger(key, minor);
  return key;
}
