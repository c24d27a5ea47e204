#include "platform/files/KeyFilePreferences.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>
#include <utility>

namespace platform {
namespace {

using Values = std::map<std::string, std::string, std::less<>>;

constexpr const char* kGroup = "preferences";
constexpr int kOwnerOnlyFile = 0600;
constexpr int kOwnerOnlyFolder = 0700;

struct Free {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(char* text) const { g_free(text); }
  void operator()(char** texts) const { g_strfreev(texts); }
};
using KeyFile = std::unique_ptr<GKeyFile, Free>;
using Error = std::unique_ptr<GError, Free>;
using Text = std::unique_ptr<char, Free>;
using Texts = std::unique_ptr<char*, Free>;

KeyFile newKeyFile() { return KeyFile(g_key_file_new()); }

std::string folderOf(const std::string& path) {
  return Text(g_path_get_dirname(path.c_str())).get();
}

[[noreturn]] void refuse(const std::string& path, const GError& fault) {
  throw std::runtime_error(path + ": the preferences cannot be read: " + fault.message);
}

std::string textIn(GKeyFile* file, const char* key, const std::string& path) {
  GError* fault = nullptr;
  const Text text(g_key_file_get_string(file, kGroup, key, &fault));
  const Error owned(fault);
  if (fault != nullptr) refuse(path, *fault);
  return text.get();
}

/// What `path` holds; nothing when it is missing. Throws for a damaged file.
Values load(const std::string& path) {
  const KeyFile file = newKeyFile();
  GError* fault = nullptr;
  g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, &fault);
  const Error owned(fault);
  if (g_error_matches(fault, G_FILE_ERROR, G_FILE_ERROR_NOENT) != 0) return {};
  if (fault != nullptr) refuse(path, *fault);
  Values values;
  const Texts keys(g_key_file_get_keys(file.get(), kGroup, nullptr, nullptr));
  if (!keys) return values;
  for (char** key = keys.get(); *key != nullptr; ++key) {
    values[*key] = textIn(file.get(), *key, path);
  }
  return values;
}

/// Replaces `path` as a whole, on the disk when this returns.
bool save(const std::string& path, const Values& values) {
  const KeyFile file = newKeyFile();
  for (const auto& [key, value] : values) {
    g_key_file_set_string(file.get(), kGroup, key.c_str(), value.c_str());
  }
  gsize length = 0;
  const Text contents(g_key_file_to_data(file.get(), &length, nullptr));
  const auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                        G_FILE_SET_CONTENTS_DURABLE);
  return g_file_set_contents_full(path.c_str(), contents.get(), static_cast<gssize>(length), flags,
                                  kOwnerOnlyFile, nullptr) != 0;
}

/// Keeps other processes from writing in a folder while it lives.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : descriptor_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (descriptor_ >= 0) flock(descriptor_, LOCK_EX);
  }
  ~FolderLock() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  const int descriptor_;
};

}  // namespace

std::string KeyFilePreferences::defaultPath() {
  return Text(g_build_filename(g_get_user_config_dir(), "brivane", "preferences", nullptr)).get();
}

KeyFilePreferences::KeyFilePreferences(std::string path)
    : path_(std::move(path)), values_(load(path_)) {}

std::optional<JSONValue> KeyFilePreferences::objectForKey(std::string_view key) const {
  auto text = stringForKey(key);
  return text ? std::optional(JSONValue(*std::move(text))) : std::nullopt;
}

std::optional<std::string> KeyFilePreferences::stringForKey(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void KeyFilePreferences::setValue_forKey(std::string_view value, std::string_view key) {
  const std::lock_guard lock(mutex_);
  values_[std::string(key)] = value;
  unsaved_[std::string(key)] = value;
}

bool KeyFilePreferences::synchronize() {
  const std::lock_guard lock(mutex_);
  const std::string folder = folderOf(path_);
  if (g_mkdir_with_parents(folder.c_str(), kOwnerOnlyFolder) != 0) return false;
  const FolderLock folderLock(folder);
  Values merged;
  try {
    merged = load(path_);
  } catch (const std::runtime_error&) {
    return false;  // damaged since it was read: nothing may be lost by writing over it
  }
  for (const auto& [key, value] : unsaved_) merged[key] = value;
  if (!save(path_, merged)) return false;
  values_ = std::move(merged);
  unsaved_.clear();
  return true;
}

}  // namespace platform
