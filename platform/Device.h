#pragma once

#include <string>

#include "platform/Export.h"

namespace platform {

/// The hardware identifier that the operating system reports (`machine` of uname, for instance
/// "aarch64"), not a marketing name. Asks the system on every call; any thread.
BRIVANE_EXPORT std::string deviceModel();

}  // namespace platform
