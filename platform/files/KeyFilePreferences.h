#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "platform/Export.h"
#include "platform/Preferences.h"

namespace platform {

/// Preferences in one key file, readable by its owner alone, replaced as a whole at each write: a
/// crash leaves the old file or the new one. Every stored value is a text. Any thread.
class BRIVANE_EXPORT KeyFilePreferences final : public Preferences {
 public:
  /// The file "preferences" in the folder "brivane" of the user's configuration
  /// ($XDG_CONFIG_HOME, or ~/.config).
  static std::string defaultPath();

  /// Reads `path`; a missing file is an empty store. Throws std::runtime_error, naming the file and
  /// the fault, for one that cannot be read or is damaged; such a file is left as it is.
  explicit KeyFilePreferences(std::string path = defaultPath());

  std::optional<JSONValue> objectForKey(std::string_view key) const override;
  std::optional<std::string> stringForKey(std::string_view key) const override;
  void setValue_forKey(std::string_view value, std::string_view key) override;

  /// Brings what was set here into the file, beside what another process stored there since, and to
  /// the disk. False, and the file is as it was, when that fails: also when it is damaged by now.
  bool synchronize() override;

 private:
  using Values = std::map<std::string, std::string, std::less<>>;

  const std::string path_;
  mutable std::mutex mutex_;
  Values values_;
  Values unsaved_;
};

}  // namespace platform
