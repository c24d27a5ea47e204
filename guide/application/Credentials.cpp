// SPDX-License-Identifier: Apache-2.0
#include "guide/application/Credentials.h"

#include <glib.h>
#include <glib/gstdio.h>

#include <exception>
#include <filesystem>

#include "guidance/Text.h"
#include "platform/files/PlistPropertyList.h"

namespace guide {
namespace {

constexpr int kOwnerAlone = 0600;
constexpr int kFolderOfOwner = 0700;

bool isComplete(const platform::PropertyList& list) {
  for (const char* key :
       {"BrivaneAPIKey", "BrivaneAPISecret", "NSLocationAlwaysUsageDescription"}) {
    if (list.objectForInfoDictionaryKey(key).value_or("").empty()) return false;
  }
  return true;
}

}  // namespace

std::string importedNetwork(const std::string& application) {
  return std::filesystem::path(g_get_user_config_dir()) / application / "Info.plist";
}

std::string importNetwork(std::string_view bytes, const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path();
  const std::string candidate = path + ".new";
  g_autoptr(GError) fault = nullptr;
  g_mkdir_with_parents(folder.c_str(), kFolderOfOwner);
  if (g_file_set_contents_full(candidate.c_str(), bytes.data(), static_cast<gssize>(bytes.size()),
                               G_FILE_SET_CONTENTS_CONSISTENT, kOwnerAlone, &fault) == FALSE) {
    return fault->message;
  }
  try {
    if (isComplete(platform::PlistPropertyList(candidate)) &&
        g_rename(candidate.c_str(), path.c_str()) == 0) {
      return "";
    }
  } catch (const std::exception&) {  // no property list at all
  }
  g_unlink(candidate.c_str());
  return guidance::_("This file is not the property list of a network.");
}

}  // namespace guide
