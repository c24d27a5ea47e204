// SPDX-License-Identifier: Apache-2.0
#include "platform/RealText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace platform {
namespace {

bool isPlain(double value) {
  const double magnitude = std::abs(value);
  return magnitude == 0.0 || (magnitude >= 1e-4 && magnitude < 1e16);
}

}  // namespace

std::string realText(double value) {
  const auto form = isPlain(value) ? std::chars_format::fixed : std::chars_format::scientific;
  std::array<char, 32>
      digits{};  // at most 17 significant ones, "-0.000" before them or "e-308" after
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, form);
  return {digits.data(), end.ptr};
}

}  // namespace platform
