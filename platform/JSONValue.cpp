// SPDX-License-Identifier: Apache-2.0
#include "platform/JSONValue.h"

#include <algorithm>

namespace platform {

JSONValue::JSONValue(List elements) : value_(std::make_shared<const List>(std::move(elements))) {}

JSONValue::JSONValue(Object members) : value_(std::make_shared<const Object>(std::move(members))) {}

const JSONValue* JSONValue::find(std::string_view key) const& {
  const auto all = members();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [key](const Member& member) { return member.first == key; });
  return found == all.end() ? nullptr : &found->second;
}

bool operator==(const JSONValue& a, const JSONValue& b) {
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case JSONValue::Kind::kList:
      return std::ranges::equal(a.list(), b.list());
    case JSONValue::Kind::kObject:
      return std::ranges::equal(a.members(), b.members());
    default:
      return a.value_ == b.value_;
  }
}

}  // namespace platform
