// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace service {

/// The access tokens that were handed out. Any thread.
class Tokens {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Tokens(std::chrono::seconds lifetime,
                  std::function<Clock::time_point()> now = &Clock::now);

  std::chrono::seconds lifetime() const { return lifetime_; }

  /// A new random token.
  std::string issue();

  /// Whether `token` was handed out and has not expired.
  bool isLive(std::string_view token) const;

 private:
  const std::chrono::seconds lifetime_;
  const std::function<Clock::time_point()> now_;
  mutable std::mutex mutex_;
  std::map<std::string, Clock::time_point, std::less<>> expiries_;
};

}  // namespace service
