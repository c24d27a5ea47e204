// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace brivane::internal {

/// The major or minor of a beacon that has none.
inline constexpr std::int64_t kUnsetIdentifier = 65535;

}  // namespace brivane::internal
