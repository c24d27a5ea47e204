// SPDX-License-Identifier: Apache-2.0
#include "guidance/Places.h"

#include <algorithm>
#include <chrono>

namespace guidance {
namespace {

/// A beacon is missed in a report or two where somebody stands before it.
constexpr Duration kHereLasts = std::chrono::seconds(10);

bool isSame(const Sighting& a, const Sighting& b) { return a.place->uuid() == b.place->uuid(); }

bool areSame(const std::vector<Sighting>& a, const std::vector<Sighting>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSame);
}

}  // namespace

bool Places::report(const std::vector<Sighting>& places, Instant now) {
  bool changed = !areSame(places, around_);
  around_ = places;
  if (here_) here_->metres.reset();  // until this report tells
  for (const Sighting& sighting : places) {
    const auto news = nearest_.match(*sighting.place->uuid(), &sighting == &places.front());
    if (news == NearestPlace::News::kNearest) {
      changed = true;
      here_ = sighting;
    }
    if (here_ && isSame(*here_, sighting)) {
      here_ = sighting;
      heardHere_ = now;
    }
  }
  if (here_ && now - heardHere_ > kHereLasts) {
    here_.reset();
    nearest_.forget();
    changed = true;
  }
  return changed;
}

void Places::clear() {
  nearest_.forget();
  here_.reset();
  around_.clear();
}

}  // namespace guidance
