// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/UTCTime.h"

#include <cstddef>

namespace platform {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Takes `count` digits off the front; absent when there are fewer.
std::optional<int> takeNumber(std::string_view& text, std::size_t count) {
  if (text.size() < count) return std::nullopt;
  int number = 0;
  for (const char c : text.substr(0, count)) {
    if (!isDigit(c)) return std::nullopt;
    number = number * 10 + (c - '0');
  }
  text.remove_prefix(count);
  return number;
}

bool takeCharacter(std::string_view& text, char expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(1);
  return true;
}

std::optional<std::chrono::sys_days> takeDate(std::string_view& text) {
  const auto year = takeNumber(text, 4);
  const bool afterYear = takeCharacter(text, '-');
  const auto month = takeNumber(text, 2);
  const bool afterMonth = takeCharacter(text, '-');
  const auto day = takeNumber(text, 2);
  if (!year || !afterYear || !month || !afterMonth || !day) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*year),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok()) return std::nullopt;
  return std::chrono::sys_days(date);
}

/// "09:30"; `limit` is the first hour that is too large.
std::optional<Duration> takeHoursAndMinutes(std::string_view& text, int limit) {
  const auto hours = takeNumber(text, 2);
  const bool colon = takeCharacter(text, ':');
  const auto minutes = takeNumber(text, 2);
  if (!hours || !colon || !minutes || *hours >= limit || *minutes > 59) return std::nullopt;
  return std::chrono::hours(*hours) + std::chrono::minutes(*minutes);
}

std::optional<Duration> takeSeconds(std::string_view& text) {
  const auto seconds = takeNumber(text, 2);
  if (!seconds || *seconds > 60) return std::nullopt;
  Duration time = std::chrono::seconds(*seconds);
  if (!takeCharacter(text, '.')) return time;
  Duration digitWorth = std::chrono::milliseconds(100);
  for (; !text.empty() && isDigit(text.front()); text.remove_prefix(1), digitWorth /= 10) {
    time += digitWorth * (text.front() - '0');
  }
  return time;
}

std::optional<Duration> takeOffset(std::string_view& text) {
  if (takeCharacter(text, 'Z')) return Duration::zero();
  const bool east = takeCharacter(text, '+');
  if (!east && !takeCharacter(text, '-')) return std::nullopt;
  const auto offset = takeHoursAndMinutes(text, 24);
  if (!offset) return std::nullopt;
  return east ? *offset : -*offset;
}

}  // namespace

std::optional<UTCTime> parseUTCTime(std::string_view text) {
  const auto date = takeDate(text);
  const bool separator = takeCharacter(text, 'T');
  const auto minutes = takeHoursAndMinutes(text, 24);
  const bool colon = takeCharacter(text, ':');
  const auto seconds = takeSeconds(text);
  const auto offset = takeOffset(text);
  if (!date || !separator || !minutes || !colon || !seconds || !offset || !text.empty()) {
    return std::nullopt;
  }
  return *date + *minutes + *seconds - *offset;
}

}  // namespace platform
