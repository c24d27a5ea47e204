// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/Screen.h"
#include "platform/files/KeyFilePreferences.h"

namespace host {

/// The user's preferences, and a warning where they cannot be stored: the library keeps this
/// installation's identifier there, and goes on without a word.
class WarningPreferences final : public platform::Preferences {
 public:
  /// Throws like KeyFilePreferences.
  explicit WarningPreferences(Screen& screen) : screen_(screen) {}

  std::optional<platform::JSONValue> objectForKey(std::string_view key) const override {
    return file_.objectForKey(key);
  }
  std::optional<std::string> stringForKey(std::string_view key) const override {
    return file_.stringForKey(key);
  }
  void setValue_forKey(std::string_view value, std::string_view key) override {
    file_.setValue_forKey(value, key);
  }
  bool synchronize() override {
    const bool stored = file_.synchronize();
    if (!stored) {
      screen_.complain(
          path_ +
          ": the identifier of this installation cannot be stored; the next run has another");
    }
    return stored;
  }

 private:
  Screen& screen_;
  const std::string path_ = platform::KeyFilePreferences::pathFor("brivane");
  platform::KeyFilePreferences file_{path_};
};

}  // namespace host
