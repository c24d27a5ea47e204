// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace brivane::internal {

void appendInteger(std::string& text, std::int64_t value) {
  std::array<char, 20> digits{};  // the sign and 19 digits
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  text.append(digits.data(), end.ptr);
}

std::string int32Text(std::int64_t value) {
  std::string text;
  appendInteger(text, static_cast<std::int32_t>(static_cast<std::uint64_t>(value) & 0xFFFFFFFFU));
  return text;
}

std::string truncatedInt32Text(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  std::string text;
  appendInteger(text,
                std::clamp<std::int64_t>(truncatedInteger(value), Limits::min(), Limits::max()));
  return text;
}

std::string fixedText(double value) {
  // The largest double has 309 digits, a sign, a point and six decimals.
  std::array<char, 320> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                 std::chars_format::fixed, 6);
  return {digits.data(), end.ptr};
}

std::int64_t truncatedInteger(double value) {
  using Limits = std::numeric_limits<std::int64_t>;
  // 2^63, the first double that no 64-bit integer holds.
  constexpr double kTooLarge = 9223372036854775808.0;
  if (std::isnan(value)) return 0;
  if (value >= kTooLarge) return Limits::max();
  if (value < -kTooLarge) return Limits::min();
  return static_cast<std::int64_t>(value);
}

}  // namespace brivane::internal
