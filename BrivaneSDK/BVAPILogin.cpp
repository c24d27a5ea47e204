// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVAPILogin.h"

#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

namespace {

using Clock = std::chrono::system_clock;

/// What 64 bits hold of nanoseconds, from 1677 to 2262, also where the clock itself goes further.
constexpr Clock::time_point kEarliest(
    std::chrono::ceil<Clock::duration>(std::chrono::nanoseconds::min()));
constexpr Clock::time_point kLatest(
    std::chrono::floor<Clock::duration>(std::chrono::nanoseconds::max()));

/// `seconds` from now, or the nearest time in that range. As `now` is after the epoch, no duration
/// that the second check lets through makes the sum overflow.
Clock::time_point fromNow(std::int64_t seconds) {
  const Clock::time_point now = Clock::now();
  const std::chrono::duration<double> asked(static_cast<double>(seconds));
  if (asked >= kLatest - now) return kLatest;
  if (asked <= kEarliest.time_since_epoch()) return kEarliest;
  return now + std::chrono::seconds(seconds);
}

}  // namespace

std::shared_ptr<const BVAPILogin> BVAPILogin::parse(const std::optional<std::string>& body) {
  const auto reply = readReply(body);
  if (!reply) return nullptr;
  auto record = std::make_shared<BVAPILogin>();
  record->setAccess_token(textReading(valueForKey(&*reply, "access_token")));
  record->setScope(textReading(valueForKey(&*reply, "scope")));
  record->setToken_type(textReading(valueForKey(&*reply, "token_type")));
  record->setExpires_in(integerReading(valueForKey(&*reply, "expires_in")));
  record->setExpires_date(fromNow(record->expires_in()));
  return record;
}
