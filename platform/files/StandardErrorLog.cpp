#include "platform/files/StandardErrorLog.h"

#include <unistd.h>

#include <cerrno>
#include <string>

namespace platform {

void StandardErrorLog::write(std::string_view line) {
  std::string whole;
  whole.reserve(line.size() + 1);
  for (const char c : line) {
    if (c == '\n') {
      whole += "\\n";
    } else {
      whole += c;
    }
  }
  whole += '\n';
  for (std::string_view rest = whole; !rest.empty();) {
    const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (written > 0) rest.remove_prefix(static_cast<std::size_t>(written));
    if (written < 0 && errno != EINTR) return;  // nobody is there to read it
  }
}

}  // namespace platform
