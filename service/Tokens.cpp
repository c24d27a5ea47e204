// SPDX-License-Identifier: Apache-2.0
#include "service/Tokens.h"

#include <utility>

#include "platform/posix/SystemRandomUUID.h"

namespace service {

Tokens::Tokens(std::chrono::seconds lifetime, std::function<Clock::time_point()> now)
    : lifetime_(lifetime), now_(std::move(now)) {}

std::string Tokens::issue() {
  std::string token = platform::SystemRandomUUID().generate().UUIDString();
  const auto now = now_();
  const std::lock_guard lock(mutex_);
  std::erase_if(expiries_, [now](const auto& entry) { return entry.second <= now; });
  expiries_[token] = now + lifetime_;
  return token;
}

bool Tokens::isLive(std::string_view token) const {
  const auto now = now_();
  const std::lock_guard lock(mutex_);
  const auto found = expiries_.find(token);
  return found != expiries_.end() && now < found->second;
}

}  // namespace service
