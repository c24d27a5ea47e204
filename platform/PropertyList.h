// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace platform {

/// The host application's own property list, read-only. Asked when a manager is created, on the
/// thread that creates it.
class BRIVANE_EXPORT PropertyList {
 public:
  virtual ~PropertyList() = default;

  /// The text under `key`; absent when there is none or it is no text.
  virtual std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const = 0;
};

}  // namespace platform
