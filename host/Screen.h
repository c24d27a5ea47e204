#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace host {

/// Standard output, line by line, with a progress line below it where a person watches: on a
/// terminal. Any thread.
class Screen {
 public:
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// Prints one line at once. Line breaks and control characters inside it, which a service could
  /// send, are printed as blanks.
  void print(std::string_view line);

  /// Shows `text` as the progress line; nothing where standard output or error is no terminal.
  void showProgress(std::string text);

 private:
  void erase() const;
  void draw() const;

  const bool watched_;
  std::mutex mutex_;
  std::string progress_;
};

}  // namespace host
