// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "platform/Export.h"
#include "platform/Preferences.h"

namespace platform {

/// Preferences in one key file, readable by its owner alone, replaced as a whole at each write: a
/// crash leaves the old file or the new one, and a reader waits for nobody. Every stored value is a
/// text, of any bytes. Any thread.
class BRIVANE_EXPORT KeyFilePreferences final : public Preferences {
 public:
  /// Where an application keeps its own: the file "preferences" in a folder of the user's
  /// configuration ($XDG_CONFIG_HOME, or ~/.config) that bears the application's identifier, such
  /// as "org.example.Walk". Throws std::invalid_argument for an identifier that cannot name a
  /// folder.
  static std::string pathFor(const std::string& application);

  /// Reads `path`; a missing file is an empty store. Throws std::runtime_error, naming the file and
  /// the fault, for one that cannot be read or is damaged; such a file is left as it is.
  explicit KeyFilePreferences(std::string path);
  ~KeyFilePreferences() override;

  /// What is not known yet is looked for in the file: another process may have stored it.
  std::optional<JSONValue> objectForKey(std::string_view key) const override;
  std::optional<std::string> stringForKey(std::string_view key) const override;

  /// Throws std::invalid_argument for an empty key.
  void setValue_forKey(std::string_view value, std::string_view key) override;

  /// Brings what was set here into the file, beside what another process stored there since, and to
  /// the disk. False, and the file is as it was, when that fails: also when it is damaged by now,
  /// or another process keeps it locked for two seconds.
  bool synchronize() override;

 private:
  struct State;

  const std::string path_;
  const std::unique_ptr<State> state_;
};

}  // namespace platform
