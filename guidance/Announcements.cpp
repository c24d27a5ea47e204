// SPDX-License-Identifier: Apache-2.0
#include "guidance/Announcements.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>
#include <vector>

namespace guidance {
namespace {

using namespace std::chrono_literals;

/// Where a feature is told: about as far ahead as a long cane's user plans the next steps.
constexpr double kAhead = 6.0;  // metres
/// Twice that: readings of one that stands still do not scatter so far for so long.
constexpr double kLeft = 12.0;
constexpr Duration kLeftAfter = 10s;
constexpr Duration kLeastInterval = 2min;
/// One comes no nearer when so many reports have brought no smaller distance: with fewer, scatter
/// alone would look like it on every fifth approach.
constexpr int kReportsNoNearer = 8;
/// The middle of so many distances counts, because single ones scatter.
constexpr std::size_t kDistances = 3;

}  // namespace

std::optional<Utterance> Announcements::report(const Places& places, Instant now) {
  noteDistances(places, now);
  const Sighting* const here = places.here();
  if (here == nullptr) {
    approached_.clear();
    return std::nullopt;
  }
  const bool isTime = matters(*here);
  const std::string& place = *here->place->uuid();
  if (hushed_ || !isTime || isNoise(place, now)) return std::nullopt;
  said_[place] = {.said = now, .near = now};
  return utteranceOf(*here->place, detail);
}

std::optional<Utterance> Announcements::more(const Places& places) const {
  const Sighting* const here = places.here();
  if (here == nullptr) return std::nullopt;
  return utteranceOf(*here->place, Detail::kAll);
}

void Announcements::noteDistances(const Places& places, Instant now) {
  for (const Sighting& sighting : places.around()) {
    const auto said = said_.find(*sighting.place->uuid());
    if (said != said_.end() && sighting.metres && *sighting.metres < kLeft) said->second.near = now;
  }
  for (auto& [place, said] : said_) said.left = said.left || now - said.near > kLeftAfter;
}

bool Announcements::matters(const Sighting& here) {
  if (*here.place->uuid() != approached_) {
    approached_ = *here.place->uuid();
    latest_.clear();
    smallest_ = std::numeric_limits<double>::infinity();
    notNearer_ = 0;
  }
  if (here.metres) latest_.push_back(*here.metres);
  if (latest_.size() > kDistances) latest_.pop_front();
  std::vector<double> sorted(latest_.begin(), latest_.end());
  std::ranges::sort(sorted);
  const double metres = sorted.empty() ? smallest_ : sorted[sorted.size() / 2];
  notNearer_ = metres < smallest_ ? 0 : notNearer_ + 1;
  smallest_ = std::min(smallest_, metres);
  return metres <= kAhead || notNearer_ >= kReportsNoNearer;
}

bool Announcements::isNoise(const std::string& place, Instant now) const {
  const auto said = said_.find(place);
  if (said == said_.end()) return false;
  return !said->second.left || now - said->second.said < kLeastInterval;
}

Utterance Announcements::utteranceOf(const BVAPIResolve& place, Detail much) const {
  std::string text = sentencesOf(place, much);
  if (!text.ends_with('.')) text += '.';
  return {.text = std::move(text), .language = language};
}

}  // namespace guidance
