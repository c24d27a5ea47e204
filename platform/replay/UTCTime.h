#pragma once

#include <optional>
#include <string_view>

#include "platform/location/Instant.h"

namespace platform {

/// The time since 1970 that an ISO 8601 text names, "2026-11-21T09:30:00.5Z" or with an offset such
/// as
/// "+01:00" in place of Z; absent for any other text.
std::optional<Instant> parseUTCTime(std::string_view text);

}  // namespace platform
