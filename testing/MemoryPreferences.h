// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "platform/JSONValue.h"
#include "platform/Preferences.h"

namespace brivane::testing {

/// Preferences that are gone with the object. Any thread.
class BRIVANE_EXPORT MemoryPreferences final : public platform::Preferences {
 public:
  /// Holds nothing, as on the first start of an application.
  MemoryPreferences();
  ~MemoryPreferences() override;
  MemoryPreferences(const MemoryPreferences&) = delete;
  MemoryPreferences& operator=(const MemoryPreferences&) = delete;

  std::optional<platform::JSONValue> objectForKey(std::string_view key) const override;
  std::optional<std::string> stringForKey(std::string_view key) const override;
  void setValue_forKey(std::string_view value, std::string_view key) override;
  /// Counts, and says what `setWritable` said: true at first.
  bool synchronize() override;

  /// Stores a value of any kind, as an application may that shares the store with the library.
  void setObject_forKey(platform::JSONValue value, std::string_view key);
  /// Whether permanent storage can be written.
  void setWritable(bool writable);
  /// How often `synchronize` was called.
  int synchronizations() const;

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace brivane::testing
