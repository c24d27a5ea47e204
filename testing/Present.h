// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace brivane::testing {

/// Those of some objects that are still there.
template <typename Object>
class Present {
 public:
  void add(std::weak_ptr<Object> object) {
    std::erase_if(objects_, [](const auto& each) { return each.expired(); });
    objects_.push_back(std::move(object));
  }

  /// Calls `call` with each; a call may end others and add some.
  template <typename Call>
  void forEach(Call call) const {
    for (const auto& each : std::vector(objects_)) {
      if (const auto object = each.lock()) call(*object);
    }
  }

 private:
  std::vector<std::weak_ptr<Object>> objects_;
};

}  // namespace brivane::testing
