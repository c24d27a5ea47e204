// SPDX-License-Identifier: Apache-2.0
#include "host/ClockText.h"

#include <array>
#include <cstdio>

namespace host {

std::string clockText(double seconds) {
  std::array<char, 32> text{};
  const auto whole = static_cast<long>(seconds);
  std::snprintf(text.data(), text.size(), "%3ld:%02ld", whole / 60, whole % 60);
  return text.data();
}

}  // namespace host
