// SPDX-License-Identifier: Apache-2.0
#include "guidance/AgeText.h"

#include <ctime>

#include "guidance/Text.h"

namespace guidance {
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
  if (days <= 0) return _("from today");
  if (days == 1) return _("from yesterday");
  return filled(_("from %1 days ago"), {std::to_string(days)});
}

}  // namespace guidance
