// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "platform/PropertyList.h"

namespace brivane::testing {

/// A property list that holds what a test says. Any thread; changed on one, while nobody reads.
class BRIVANE_EXPORT FixedPropertyList final : public platform::PropertyList {
 public:
  /// Texts by their keys.
  using Entries = std::map<std::string, std::string, std::less<>>;

  /// What the library needs to find: the credentials "key" and "secret", and a text for the user.
  static Entries complete();

  /// Holds `entries`.
  explicit FixedPropertyList(Entries entries = complete());
  ~FixedPropertyList() override;

  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override;

  /// Holds these from now on, in place of all from before.
  void set(Entries entries);

 private:
  Entries entries_;
};

}  // namespace brivane::testing
