// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "platform/Export.h"
#include "platform/PropertyList.h"

namespace platform {

/// The texts of a real Info.plist, XML or binary, read once.
class BRIVANE_EXPORT PlistPropertyList final : public PropertyList {
 public:
  /// Reads `path`, at most 1 MiB with 1000 dictionaries and lists. Throws std::runtime_error, one
  /// line naming the file and the fault, when it cannot be read, holds more, or is no property list
  /// with a dictionary at its top.
  explicit PlistPropertyList(const std::string& path);

  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override;

 private:
  struct Free {
    void operator()(void* node) const;
  };

  std::unique_ptr<void, Free> root_;
};

}  // namespace platform
