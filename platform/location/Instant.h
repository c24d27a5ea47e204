#pragma once

#include <chrono>

namespace platform {

/// A time on the clock of whoever feeds the location logic, since an epoch of its choice. The logic
/// itself reads no clock.
using Instant = std::chrono::microseconds;

}  // namespace platform
