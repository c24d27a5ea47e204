// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "platform/location/Instant.h"

namespace platform {

/// A time as recordings write it, on the clock of the world.
using UTCTime = std::chrono::sys_time<Duration>;

/// The time that an ISO 8601 text names, "2026-11-21T09:30:00.5Z" or with an offset such as
/// "+01:00" in place of Z; absent for any other text.
std::optional<UTCTime> parseUTCTime(std::string_view text);

}  // namespace platform
