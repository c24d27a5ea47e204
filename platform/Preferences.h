// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "platform/JSONValue.h"

namespace platform {

/// The application's small store of values that outlive it. Called on any thread, several at once,
/// once or twice a request.
class BRIVANE_EXPORT Preferences {
 public:
  virtual ~Preferences() = default;

  /// Whatever is stored under `key`; absent when nothing is.
  virtual std::optional<JSONValue> objectForKey(std::string_view key) const = 0;

  /// The text stored under `key`; absent when nothing is, or what is stored is no text.
  virtual std::optional<std::string> stringForKey(std::string_view key) const = 0;

  /// Stores `value` under `key`, in memory at once.
  virtual void setValue_forKey(std::string_view value, std::string_view key) = 0;

  /// Writes what was stored to permanent storage before it returns; false when that failed, and
  /// then nothing stored earlier is lost.
  virtual bool synchronize() = 0;
};

}  // namespace platform
