// SPDX-License-Identifier: Apache-2.0
#include "host/PlainText.h"

#include <cstddef>

namespace host {

std::string plainLine(std::string_view text) {
  // C0, DEL, and the two bytes with which C1 controls begin and end in UTF-8, are what a terminal
  // acts on.
  std::string clean(text);
  for (std::size_t i = 0; i < clean.size(); ++i) {
    const auto byte = static_cast<unsigned char>(clean[i]);
    if (byte < 0x20 || byte == 0x7F) clean[i] = ' ';
    if (byte == 0xC2 && i + 1 < clean.size() && static_cast<unsigned char>(clean[i + 1]) < 0xA0) {
      clean[i] = clean[i + 1] = ' ';
    }
  }
  return clean;
}

}  // namespace host
