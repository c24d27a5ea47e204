// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brivane::internal {

/// How log lines, form bodies and cache keys print an absent text.
inline std::string_view orNull(const std::optional<std::string>& text) {
  return text ? std::string_view(*text) : "(null)";
}

}  // namespace brivane::internal
