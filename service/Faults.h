// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace service {

/// How a request can go wrong on purpose.
enum class FaultKind {
  /// The answer comes late.
  kDelay,
  /// The connection closes without an answer.
  kDrop,
  /// The connection is reset in the middle of the answer.
  kReset,
  /// The answer is not JSON.
  kBadJSON,
  /// The answer has status 500 and a body that is not JSON.
  kStatus500,
};

struct Fault {
  FaultKind kind{};
  /// The part of requests that go wrong so, 0 to 1.
  double rate = 0.0;
  /// Of a delay.
  std::chrono::milliseconds delay{0};

  /// Reads "KIND=RATE" with a kind of drop, reset, bad-json or status-500, or
  /// "delay=RATE:MILLISECONDS". Throws std::invalid_argument, saying what is wrong.
  static Fault parse(const std::string& text);
};

/// Chooses what goes wrong with each request: the same for the same seed and order of requests. Any
/// thread.
class Faults {
 public:
  Faults(std::vector<Fault> faults, std::uint64_t seed);

  /// The fault of the next request; absent when it goes well.
  std::optional<Fault> next();

 private:
  const std::vector<Fault> faults_;
  std::mutex mutex_;
  std::mt19937_64 chance_;
};

}  // namespace service
