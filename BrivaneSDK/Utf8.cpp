// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/Utf8.h"

namespace brivane::internal {
namespace {

struct Lead {
  std::size_t length;
  char32_t bits;
  char32_t smallest;  // of the code points that need this length
};

std::optional<Lead> readLead(unsigned char byte) {
  if (byte < 0x80) return Lead{1, byte, 0};
  if ((byte & 0xE0U) == 0xC0) return Lead{2, byte & 0x1FU, 0x80};
  if ((byte & 0xF0U) == 0xE0) return Lead{3, byte & 0x0FU, 0x800};
  if ((byte & 0xF8U) == 0xF0) return Lead{4, byte & 0x07U, 0x10000};
  return std::nullopt;
}

bool isCodePoint(char32_t value) { return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF); }

}  // namespace

std::optional<Utf8Character> firstCharacter(std::string_view bytes) {
  const auto lead = readLead(static_cast<unsigned char>(bytes.front()));
  if (!lead || bytes.size() < lead->length) return std::nullopt;
  char32_t codePoint = lead->bits;
  for (const char c : bytes.substr(1, lead->length - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) != 0x80) return std::nullopt;
    codePoint = codePoint << 6U | (byte & 0x3FU);
  }
  if (codePoint < lead->smallest || !isCodePoint(codePoint)) return std::nullopt;
  return Utf8Character{codePoint, lead->length};
}

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto character = firstCharacter(bytes);
    if (!character) return false;
    bytes.remove_prefix(character->length);
  }
  return true;
}

}  // namespace brivane::internal
