// SPDX-License-Identifier: Apache-2.0
#include "platform/files/StandardErrorLog.h"

#include <glib.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace platform {
namespace {

/// The length of the character at the front of `text`, if a terminal can print it; else 0.
std::size_t printable(std::string_view text) {
  const gunichar character =
      g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
  const bool isText = character < 0x110000;  // else what GLib says of bytes that are none
  if (!isText || g_unichar_iscntrl(character) != 0) return 0;
  return static_cast<std::size_t>(g_unichar_to_utf8(character, nullptr));
}

void appendEscaped(std::string& line, char c) {
  static constexpr std::string_view kHex = "0123456789abcdef";
  if (c == '\n') {
    line += "\\n";
    return;
  }
  const auto byte = static_cast<unsigned char>(c);
  line += "\\x";
  line += kHex[byte >> 4U];
  line += kHex[byte & 0x0FU];
}

}  // namespace

void StandardErrorLog::write(std::string_view line) {
  std::string whole;
  whole.reserve(line.size() + 1);
  while (!line.empty()) {
    const std::size_t length = printable(line);
    if (length > 0) {
      whole += line.substr(0, length);
    } else {
      appendEscaped(whole, line.front());
    }
    line.remove_prefix(length > 0 ? length : 1);
  }
  whole += '\n';
  for (std::string_view rest = whole; !rest.empty();) {
    const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (written > 0) rest.remove_prefix(static_cast<std::size_t>(written));
    if (written < 0 && errno != EINTR) return;  // nobody is there to read it
  }
}

}  // namespace platform
