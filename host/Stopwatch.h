// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace host {

/// Seconds since it was made.
class Stopwatch {
 public:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
  }

 private:
  std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

}  // namespace host
