// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace platform {

/// A length of time.
using Duration = std::chrono::microseconds;

/// The clock of whoever feeds the location logic, with an epoch of its choice. It has no `now`: the
/// logic is told the time and reads no clock.
struct LocationClock {
  /// The unit of the clock; this and the rest as the standard asks of a clock.
  using duration = Duration;
  /// How a duration is counted.
  using rep = duration::rep;
  /// A tick in seconds.
  using period = duration::period;
  /// A time on this clock.
  using time_point = std::chrono::time_point<LocationClock>;
  /// It never goes back.
  static constexpr bool is_steady = true;
};

/// A time on that clock.
using Instant = LocationClock::time_point;

/// The first of two times of which each may be absent.
inline std::optional<Instant> earlier(std::optional<Instant> a, std::optional<Instant> b) {
  if (!a || !b) return a ? a : b;
  return std::min(*a, *b);
}

}  // namespace platform
