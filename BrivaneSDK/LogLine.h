// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "BrivaneSDK/NullText.h"
#include "BrivaneSDK/NumberText.h"
#include "platform/Log.h"
#include "platform/Services.h"

namespace brivane::internal {

template <std::convertible_to<std::string_view> Text>
void appendToLine(std::string& line, const Text& part) {
  line += std::string_view(part);
}
inline void appendToLine(std::string& line, const std::optional<std::string>& part) {
  line += orNull(part);
}
inline void appendToLine(std::string& line, std::int64_t part) { appendInteger(line, part); }

/// Writes one line, made of texts, nullable texts and integers, to the installed log. Without a log
/// nothing is composed, so a line costs next to nothing.
template <typename... Parts>
void logLine(std::string_view first, const Parts&... parts) {
  platform::Log* const log = platform::services().log.get();
  if (log == nullptr) return;
  if constexpr (sizeof...(parts) == 0) {
    log->write(first);
  } else {
    std::string line(first);
    (appendToLine(line, parts), ...);
    log->write(line);
  }
}

}  // namespace brivane::internal
