// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

namespace brivane::testing {

/// Has the library stand as in a process that has just begun: no services are installed, nobody is
/// logged in, nothing was detected. So each test begins by itself, whatever ran before it.
///
/// Nothing of the library may be in use meanwhile, on any thread: managers are gone, and no request
/// is under way (a client that was shut down has none). What `platform::services` gave is gone.
/// For tests alone: an application installs its services once.
BRIVANE_EXPORT void beginAnew();

}  // namespace brivane::testing
