#pragma once

#include "platform/Export.h"
#include "platform/Log.h"

namespace platform {

/// A log on standard error, one write a line; a line break inside a line is printed as "\n".
/// Installed only by a host that was asked for a log. Any thread.
class BRIVANE_EXPORT StandardErrorLog final : public Log {
 public:
  void write(std::string_view line) override;
};

}  // namespace platform
