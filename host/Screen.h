// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace host {

/// Standard output, line by line, with progress below it where a person watches: on a
/// terminal. Any thread.
class Screen {
 public:
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// Prints one line at once. Line breaks and control characters inside it, which a service could
  /// send, are printed as blanks. When it cannot be written, nothing more is, and the program is
  /// interrupted: nobody would hear what it does.
  void print(std::string_view line);

  /// Throws Failure when a line could not be written.
  void failIfLost() const;

  /// Shows `text`, which may have several lines, below all that was printed, in place of what it
  /// showed before; nothing where standard output or error is no terminal. What does not fit on the
  /// terminal is left out.
  void showProgress(const std::string& text);

  /// Prints one line for a person on standard error.
  void complain(const std::string& line);

  /// Whether a person watches, at a terminal that can take lines back, and so sees the progress.
  bool isWatched() const { return watched_; }

 private:
  void erase() const;
  void draw() const;

  const bool watched_;
  mutable std::mutex mutex_;
  std::string progress_;
  /// Why standard output takes no more; 0 while it does.
  int fault_ = 0;
};

}  // namespace host
