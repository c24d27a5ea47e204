#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace platform {

/// A time on the clock of whoever feeds the location logic, since an epoch of its choice. The logic
/// itself reads no clock.
using Instant = std::chrono::microseconds;

/// The first of two times of which each may be absent.
inline std::optional<Instant> earlier(std::optional<Instant> a, std::optional<Instant> b) {
  if (!a || !b) return a ? a : b;
  return std::min(*a, *b);
}

}  // namespace platform
