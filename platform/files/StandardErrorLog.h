// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/Log.h"

namespace platform {

/// A log on standard error, one write a line. A line break inside a line is printed as "\n", and
/// whatever else a terminal would obey, or that is no UTF-8, as "\x1b". Installed only by a host
/// that was asked for a log. Any thread.
class BRIVANE_EXPORT StandardErrorLog final : public Log {
 public:
  void write(std::string_view line) override;
};

}  // namespace platform
