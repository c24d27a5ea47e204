// SPDX-License-Identifier: Apache-2.0
#include "host/AgeText.h"

#include <ctime>

namespace host {
namespace {

std::chrono::sys_days localDay(std::chrono::system_clock::time_point time) {
  using std::chrono::year, std::chrono::month, std::chrono::day;
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm local{};
  localtime_r(&seconds, &local);
  constexpr int kFirstYear = 1900;
  return year(local.tm_year + kFirstYear) / month(static_cast<unsigned>(local.tm_mon) + 1) /
         day(static_cast<unsigned>(local.tm_mday));
}

}  // namespace

std::string ageText(std::chrono::system_clock::time_point time,
                    std::chrono::system_clock::time_point now) {
  const auto days = (localDay(now) - localDay(time)).count();
  if (days <= 0) return "from today";
  return days == 1 ? "from yesterday" : "from " + std::to_string(days) + " days ago";
}

}  // namespace host
