// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

namespace brivane::internal {

/// Releases what `platform::install` has installed, so that it can be called anew. For the
/// component Testing alone: a host's services are never released.
BRIVANE_EXPORT void forgetServices();

}  // namespace brivane::internal
