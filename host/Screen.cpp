#include "host/Screen.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace host {
namespace {

/// C0, DEL, and the two bytes with which C1 controls begin and end in UTF-8, are what a terminal
/// acts on.
std::string withoutControls(std::string_view line) {
  std::string clean(line);
  for (std::size_t i = 0; i < clean.size(); ++i) {
    const auto byte = static_cast<unsigned char>(clean[i]);
    if (byte < 0x20 || byte == 0x7F) clean[i] = ' ';
    if (byte == 0xC2 && i + 1 < clean.size() && static_cast<unsigned char>(clean[i + 1]) < 0xA0) {
      clean[i] = clean[i + 1] = ' ';
    }
  }
  return clean;
}

}  // namespace

Screen::Screen() : watched_(isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1) {}

Screen::~Screen() { erase(); }

void Screen::print(std::string_view line) {
  const std::string clean = withoutControls(line);
  const std::lock_guard lock(mutex_);
  erase();
  std::fprintf(stdout, "%s\n", clean.c_str());
  std::fflush(stdout);
  draw();
}

void Screen::showProgress(std::string text) {
  if (!watched_) return;
  const std::lock_guard lock(mutex_);
  erase();
  progress_ = std::move(text);
  draw();
}

void Screen::erase() const {
  if (!progress_.empty()) std::fputs("\r\x1B[K", stderr);
}

void Screen::draw() const {
  if (!progress_.empty()) std::fputs(progress_.c_str(), stderr);
}

}  // namespace host
