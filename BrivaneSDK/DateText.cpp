// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/DateText.h"

#include <cstdint>

#include "BrivaneSDK/NumberText.h"

namespace brivane::internal {
namespace {

void appendTwoDigits(std::string& text, std::int64_t value) {
  if (value < 10) text += '0';
  appendInteger(text, value);
}

}  // namespace

std::string dateText(std::chrono::system_clock::time_point time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::seconds>(time) - day);
  std::string text;
  appendInteger(text, static_cast<int>(date.year()));
  text += '-';
  appendTwoDigits(text, static_cast<unsigned>(date.month()));
  text += '-';
  appendTwoDigits(text, static_cast<unsigned>(date.day()));
  text += ' ';
  appendTwoDigits(text, clock.hours().count());
  text += ':';
  appendTwoDigits(text, clock.minutes().count());
  text += ':';
  appendTwoDigits(text, clock.seconds().count());
  text += " +0000";
  return text;
}

}  // namespace brivane::internal
