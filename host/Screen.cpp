// SPDX-License-Identifier: Apache-2.0
#include "host/Screen.h"

#include <sys/ioctl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "host/Failure.h"
#include "host/PlainText.h"

namespace host {
namespace {

std::size_t terminalRows() {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 1;
  return known ? size.ws_row : 24;
}

bool canTakeBack() {
  const char* const terminal =
      std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): nobody sets it
  return terminal != nullptr && std::string_view(terminal) != "dumb";
}

std::string firstLines(const std::string& text, std::size_t count) {
  std::size_t end = 0;
  while (count-- > 0 && end != std::string::npos) end = text.find('\n', end + (end > 0 ? 1 : 0));
  return text.substr(0, end);
}

}  // namespace

Screen::Screen()
    : watched_(isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1 && canTakeBack()) {}

Screen::~Screen() { erase(); }

void Screen::print(std::string_view line) {
  const std::string clean = plainLine(line);
  const std::lock_guard lock(mutex_);
  if (fault_ != 0) return;
  erase();
  if (std::fprintf(stdout, "%s\n", clean.c_str()) < 0 || std::fflush(stdout) != 0) {
    fault_ = errno;
    kill(getpid(), SIGINT);
  }
  draw();
}

void Screen::failIfLost() const {
  const std::lock_guard lock(mutex_);
  if (fault_ == 0) return;
  throw Failure(kServiceFailure, "standard output: " + std::generic_category().message(fault_));
}

void Screen::showProgress(const std::string& text) {
  if (!watched_) return;
  const std::lock_guard lock(mutex_);
  erase();
  progress_ = firstLines(text, terminalRows() - 1);
  draw();
}

void Screen::complain(const std::string& line) {
  const std::lock_guard lock(mutex_);
  erase();
  std::fprintf(stderr, "brivane: %s\n", plainLine(line).c_str());
  draw();
}

void Screen::erase() const {
  if (progress_.empty()) return;
  std::fputc('\r', stderr);
  for (const char c : progress_) {
    if (c == '\n') std::fputs("\x1B[A", stderr);
  }
  std::fputs("\x1B[J", stderr);
}

void Screen::draw() const {
  if (!progress_.empty()) std::fputs(progress_.c_str(), stderr);
}

}  // namespace host
