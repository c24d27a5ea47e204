// SPDX-License-Identifier: Apache-2.0
#include "platform/UUID.h"

namespace platform {
namespace {

constexpr std::size_t kTextLength = 36;

bool isHyphenPosition(std::size_t position) {
  return position == 8 || position == 13 || position == 18 || position == 23;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::optional<UUID> UUID::initWithUUIDString(std::string_view text) {
  if (text.size() != kTextLength) return std::nullopt;
  Bytes bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < kTextLength; ++i) {
    if (isHyphenPosition(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const int digit = hexDigit(text[i]);
    if (digit < 0) return std::nullopt;
    std::uint8_t& byte = bytes[digits++ / 2];
    byte = static_cast<std::uint8_t>(byte * 16 + digit);
  }
  return UUID(bytes);
}

std::string UUID::UUIDString() const {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text(kTextLength, '-');
  std::size_t position = 0;
  for (const std::uint8_t byte : bytes_) {
    if (isHyphenPosition(position)) ++position;
    text[position++] = kDigits[byte >> 4U];
    text[position++] = kDigits[byte & 0x0FU];
  }
  return text;
}

}  // namespace platform
