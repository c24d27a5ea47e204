// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace brivane::internal {

/// Something that the location service does between a start and a stop, ranging for instance, and
/// whether it does. Any thread.
///
/// A start and a stop may come on two threads at once. No lock is held during a call, so nobody can
/// say which call came first; whoever finds, after its own, that the other came between stops once
/// more. So nothing goes on that is marked as ended.
class Activity {
 public:
  bool isOn() const { return isOn(mark_); }

  /// Marks the activity as begun, then calls `start`; and `stop`, when it was ended meanwhile.
  template <typename Start, typename Stop>
  void begin(Start start, Stop stop) {
    std::uint64_t mark = setBegun();
    start();
    if (!mark_.compare_exchange_strong(mark, mark + 2) && !isOn(mark)) stop();
  }

  /// Marks as begun what has been started already.
  std::uint64_t setBegun() {
    std::uint64_t mark = mark_;
    while (!mark_.compare_exchange_weak(mark, next(mark))) {
    }
    return next(mark);
  }

  /// Calls `stop`, then marks the activity as ended; all over again, when it changed meanwhile.
  template <typename Stop>
  void end(Stop stop) {
    std::uint64_t mark = mark_;
    do {
      stop();
    } while (!mark_.compare_exchange_strong(mark, mark + mark % 2));
  }

 private:
  static bool isOn(std::uint64_t mark) { return mark % 2 != 0; }
  static std::uint64_t next(std::uint64_t mark) { return (mark | 1U) + 2; }

  // Odd while the activity is on; larger after each change, so that no change goes unnoticed.
  std::atomic<std::uint64_t> mark_ = 0;
};

}  // namespace brivane::internal
