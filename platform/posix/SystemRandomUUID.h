// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/RandomUUID.h"

namespace platform {

/// Identifiers from the system's random source.
class BRIVANE_EXPORT SystemRandomUUID final : public RandomUUID {
 public:
  UUID generate() override;
};

}  // namespace platform
