// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

namespace brivane::testing {

/// Calls `call` with each of the objects that is still there; a call may end any of them.
template <typename Object, typename Call>
void forEachAlive(const std::vector<std::weak_ptr<Object>>& objects, Call call) {
  for (const auto& each : std::vector(objects)) {
    if (const auto object = each.lock()) call(*object);
  }
}

}  // namespace brivane::testing
