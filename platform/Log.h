// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "platform/Export.h"

namespace platform {

/// Where log lines go. Lines hold credentials and tokens in clear, so a host installs a log only
/// when it wants one; without one no line is even composed.
class BRIVANE_EXPORT Log {
 public:
  virtual ~Log() = default;

  /// Takes one line, without its line end, valid during the call. Called on any thread, several at
  /// once, three times a second for each beacon in range. Must not throw or call the library.
  virtual void write(std::string_view line) = 0;
};

}  // namespace platform
