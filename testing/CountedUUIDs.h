// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Export.h"
#include "platform/RandomUUID.h"
#include "platform/UUID.h"

namespace brivane::testing {

/// Identifiers that are the same in each run: 00000000-0000-4000-8000-000000000001, then …2, and so
/// on. In form they are random ones; anybody can foretell them. Any thread.
class BRIVANE_EXPORT CountedUUIDs final : public platform::RandomUUID {
 public:
  platform::UUID generate() override;

 private:
  std::atomic<std::uint32_t> last_ = 0;
};

}  // namespace brivane::testing
