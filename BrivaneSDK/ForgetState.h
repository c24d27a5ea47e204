// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

namespace brivane::internal {

/// Sets the session, and what managers share, to what they are in a new process. For the component
/// Testing alone, which says what must hold: nothing of the library is in use meanwhile.
BRIVANE_EXPORT void forgetState();

}  // namespace brivane::internal
