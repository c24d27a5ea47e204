// SPDX-License-Identifier: Apache-2.0
#include "platform/files/KeyFilePreferences.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <stdexcept>
#include <thread>
#include <utility>

#include "platform/Mutex.h"

namespace platform {
namespace {

using namespace std::chrono_literals;
using Values = std::map<std::string, std::string, std::less<>>;

constexpr const char* kGroup = "preferences";
constexpr int kOwnerOnlyFile = 0600;
constexpr int kOwnerOnlyFolder = 0700;
constexpr auto kLockPause = 10ms;
constexpr int kLockTries = 200;

struct Free {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
  void operator()(char* text) const { g_free(text); }
  void operator()(char** texts) const { g_strfreev(texts); }
};
using KeyFile = std::unique_ptr<GKeyFile, Free>;
using Error = std::unique_ptr<GError, Free>;
using Bytes = std::unique_ptr<GBytes, Free>;
using Text = std::unique_ptr<char, Free>;
using Texts = std::unique_ptr<char*, Free>;

KeyFile newKeyFile() { return KeyFile(g_key_file_new()); }

std::string folderOf(const std::string& path) {
  return Text(g_path_get_dirname(path.c_str())).get();
}

[[noreturn]] void refuse(const std::string& path, const std::string& fault) {
  throw std::runtime_error(path + ": the preferences cannot be read: " + fault);
}

// A key file takes neither every key nor every value: they stand in it percent-encoded.

std::string encoded(const std::string& text) {
  const auto* bytes = reinterpret_cast<const guchar*>(text.data());
  return Text(g_uri_escape_bytes(bytes, text.size(), nullptr)).get();
}

std::string decoded(const char* text, const std::string& path) {
  const Bytes bytes(g_uri_unescape_bytes(text, -1, nullptr, nullptr));
  if (!bytes) refuse(path, std::string("an encoding is cut in ") + text);
  gsize size = 0;
  const auto* data = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
  return data == nullptr ? std::string() : std::string(data, size);
}

std::string textIn(GKeyFile* file, const char* key, const std::string& path) {
  GError* fault = nullptr;
  const Text text(g_key_file_get_string(file, kGroup, key, &fault));
  const Error owned(fault);
  if (fault != nullptr) refuse(path, fault->message);
  return decoded(text.get(), path);
}

/// What `path` holds; nothing when it is missing. Throws for a damaged file.
Values load(const std::string& path) {
  const KeyFile file = newKeyFile();
  GError* fault = nullptr;
  g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, &fault);
  const Error owned(fault);
  if (g_error_matches(fault, G_FILE_ERROR, G_FILE_ERROR_NOENT) != 0) return {};
  if (fault != nullptr) refuse(path, fault->message);
  Values values;
  const Texts keys(g_key_file_get_keys(file.get(), kGroup, nullptr, nullptr));
  if (!keys) return values;
  for (char** key = keys.get(); *key != nullptr; ++key) {
    values[decoded(*key, path)] = textIn(file.get(), *key, path);
  }
  return values;
}

/// Replaces `path` as a whole, on the disk when this returns.
bool save(const std::string& path, const Values& values) {
  const KeyFile file = newKeyFile();
  for (const auto& [key, value] : values) {
    g_key_file_set_string(file.get(), kGroup, encoded(key).c_str(), encoded(value).c_str());
  }
  gsize length = 0;
  const Text contents(g_key_file_to_data(file.get(), &length, nullptr));
  const auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                        G_FILE_SET_CONTENTS_DURABLE);
  return g_file_set_contents_full(path.c_str(), contents.get(), static_cast<gssize>(length), flags,
                                  kOwnerOnlyFile, nullptr) != 0;
}

/// Keeps other processes from writing in a folder while it lives, if it got so far.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : descriptor_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    for (int tries = 0; descriptor_ >= 0 && tries < kLockTries; ++tries) {
      if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0) {
        held_ = true;
        return;
      }
      std::this_thread::sleep_for(kLockPause);
    }
  }
  ~FolderLock() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  bool isHeld() const { return held_; }

 private:
  const int descriptor_;
  bool held_ = false;
};

}  // namespace

struct KeyFilePreferences::State {
  std::optional<std::string> find(std::string_view key) BRIVANE_EXCLUDES(mutex);

  /// Takes in what the file holds, except where something else was set here.
  void learn(const Values& stored) BRIVANE_REQUIRES(mutex);

  /// Held while the file is replaced; `mutex` is not, so that nobody who reads waits for it.
  Mutex writing;
  Mutex mutex;
  Values values BRIVANE_GUARDED_BY(mutex);
  Values unsaved BRIVANE_GUARDED_BY(mutex);
};

std::optional<std::string> KeyFilePreferences::State::find(std::string_view key) {
  const MutexLock lock(mutex);
  const auto found = values.find(key);
  return found == values.end() ? std::nullopt : std::optional(found->second);
}

void KeyFilePreferences::State::learn(const Values& stored) {
  for (const auto& [key, value] : stored) {
    if (!unsaved.contains(key)) values[key] = value;
  }
}

std::string KeyFilePreferences::pathFor(const std::string& application) {
  const bool isName = !application.empty() && application != "." && application != ".." &&
                      application.find_first_of(std::string("/\0", 2)) == std::string::npos;
  if (!isName) throw std::invalid_argument("'" + application + "' identifies no application");
  return Text(
             g_build_filename(g_get_user_config_dir(), application.c_str(), "preferences", nullptr))
      .get();
}

KeyFilePreferences::KeyFilePreferences(std::string path)
    : path_(std::move(path)), state_(std::make_unique<State>()) {
  const Values stored = load(path_);
  const MutexLock lock(state_->mutex);
  state_->learn(stored);
}

KeyFilePreferences::~KeyFilePreferences() = default;

std::optional<JSONValue> KeyFilePreferences::objectForKey(std::string_view key) const {
  auto text = stringForKey(key);
  return text ? std::optional(JSONValue(*std::move(text))) : std::nullopt;
}

std::optional<std::string> KeyFilePreferences::stringForKey(std::string_view key) const {
  if (auto value = state_->find(key)) return value;
  try {
    const Values stored = load(path_);
    const MutexLock lock(state_->mutex);
    state_->learn(stored);
  } catch (const std::runtime_error&) {
    return std::nullopt;  // damaged since it was read, which `synchronize` tells
  }
  return state_->find(key);
}

void KeyFilePreferences::setValue_forKey(std::string_view value, std::string_view key) {
  if (key.empty()) throw std::invalid_argument("a preference without a key");
  const MutexLock lock(state_->mutex);
  state_->values[std::string(key)] = value;
  state_->unsaved[std::string(key)] = value;
}

bool KeyFilePreferences::synchronize() {
  const MutexLock writing(state_->writing);
  MutexLock lock(state_->mutex);
  const Values unsaved = state_->unsaved;
  lock.unlock();
  const std::string folder = folderOf(path_);
  if (g_mkdir_with_parents(folder.c_str(), kOwnerOnlyFolder) != 0) return false;
  const FolderLock folderLock(folder);
  if (!folderLock.isHeld()) return false;
  Values merged;
  try {
    merged = load(path_);
  } catch (const std::runtime_error&) {
    return false;  // damaged since it was read: nothing may be lost by writing over it
  }
  for (const auto& [key, value] : unsaved) merged[key] = value;
  if (!save(path_, merged)) return false;
  lock.lock();
  std::erase_if(state_->unsaved, [&unsaved](const auto& each) {
    const auto saved = unsaved.find(each.first);
    return saved != unsaved.end() && saved->second == each.second;
  });
  state_->learn(merged);
  return true;
}

}  // namespace platform
