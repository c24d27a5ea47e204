// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace brivane::internal {

/// One character of UTF-8 text: its code point and how many bytes it takes.
struct Utf8Character {
  char32_t codePoint;
  std::size_t length;
};

/// The character at the start of `bytes`, which is not empty; absent when there is no valid one
/// (an overlong form, a surrogate, a cut or stray byte).
std::optional<Utf8Character> firstCharacter(std::string_view bytes);

/// Whether all of `bytes` is valid UTF-8.
bool isUtf8(std::string_view bytes);

}  // namespace brivane::internal
