// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <utility>

namespace service {

/// Writing JSON takes stack for each level: who sends it must not choose how much.
inline constexpr int kMaxJSONDepth = 100;

/// For ordered_json::parse: calls `refuse`, which throws, at a value that is nested deeper.
template <typename Refuse>
nlohmann::ordered_json::parser_callback_t refuseDeepNesting(Refuse refuse) {
  return [refuse = std::move(refuse)](int depth, auto /*event*/, auto& /*parsed*/) {
    if (depth > kMaxJSONDepth) refuse();
    return true;
  };
}

}  // namespace service
