// SPDX-License-Identifier: Apache-2.0
#include "guidance/Text.h"

#include <cstddef>

namespace guidance {

std::string filled(std::string_view pattern, std::initializer_list<std::string_view> values) {
  std::string text;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const std::size_t place = pattern[i] == '%' && i + 1 < pattern.size()
                                  ? static_cast<std::size_t>(pattern[i + 1] - '1')
                                  : values.size();
    if (place < values.size()) {
      text.append(values.begin()[place]);
      ++i;
    } else {
      text.push_back(pattern[i]);
    }
  }
  return text;
}

}  // namespace guidance
