// SPDX-License-Identifier: Apache-2.0
#include "guidance/NearestPlace.h"

namespace guidance {
namespace {

constexpr int kReportsToLead = 3;

}  // namespace

NearestPlace::News NearestPlace::match(const std::string& place, bool leads) {
  const bool isFirst = matched_.insert(place).second;
  if (leads && becomesNearest(place)) return News::kNearest;
  return isFirst ? News::kFirstSight : News::kNothing;
}

void NearestPlace::forget() {
  nearest_.clear();
  leading_.clear();
}

bool NearestPlace::becomesNearest(const std::string& place) {
  if (place != leading_) led_ = 0;
  leading_ = place;
  if (++led_ < kReportsToLead || place == nearest_) return false;
  nearest_ = place;
  return true;
}

}  // namespace guidance
