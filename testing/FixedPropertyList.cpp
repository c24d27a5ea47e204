// SPDX-License-Identifier: Apache-2.0
#include "testing/FixedPropertyList.h"

#include <utility>

namespace brivane::testing {

FixedPropertyList::Entries FixedPropertyList::complete() {
  return {{"BrivaneAPIKey", "key"},
          {"BrivaneAPISecret", "secret"},
          {"NSLocationAlwaysUsageDescription", "To name the doors that you pass."}};
}

FixedPropertyList::FixedPropertyList(Entries entries) : entries_(std::move(entries)) {}

FixedPropertyList::~FixedPropertyList() = default;

std::optional<std::string> FixedPropertyList::objectForInfoDictionaryKey(
    std::string_view key) const {
  const auto found = entries_.find(key);
  return found == entries_.end() ? std::nullopt : std::optional(found->second);
}

void FixedPropertyList::set(Entries entries) { entries_ = std::move(entries); }

}  // namespace brivane::testing
