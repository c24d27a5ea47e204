// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/LossyASCII.h"

#include "BrivaneSDK/Utf8.h"

namespace brivane::internal {
namespace {

// Base letters of U+00C0 to U+017F, a row of 16 each; "?" where the character is no letter.
constexpr std::string_view kBaseLetters =
    "AAAAAAACEEEEIIII"
    "DNOOOOO?OUUUUYTs"
    "aaaaaaaceeeeiiii"
    "dnooooo?ouuuuyty"
    "AaAaAaCcCcCcCcDd"
    "DdEeEeEeEeEeGgGg"
    "GgGgHhHhIiIiIiIi"
    "IiIiJjKkkLlLlLlL"
    "lLlNnNnNnnNnOoOo"
    "OoOoRrRrRrSsSsSs"
    "SsTtTtTtUuUuUuUu"
    "UuUuWwYyYZzZzZzs";
constexpr char32_t kFirstLetter = 0xC0;
static_assert(kBaseLetters.size() == 0x180 - kFirstLetter);

char toASCII(char32_t codePoint) {
  if (codePoint < 0x80) return static_cast<char>(codePoint);
  if (codePoint == U'ª') return 'a';  // the ordinal signs are raised letters: 1ª, 2º
  if (codePoint == U'º') return 'o';
  const char32_t index = codePoint - kFirstLetter;
  return index < kBaseLetters.size() ? kBaseLetters[index] : '?';
}

}  // namespace

std::string lossyASCII(std::string_view text) {
  std::string ascii;
  ascii.reserve(text.size());
  while (!text.empty()) {
    const auto character = firstCharacter(text);
    ascii += character ? toASCII(character->codePoint) : '?';
    text.remove_prefix(character ? character->length : 1);
  }
  return ascii;
}

}  // namespace brivane::internal
