// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>

#include "guidance/Places.h"
#include "guidance/Sentences.h"
#include "guidance/Speech.h"

namespace guidance {

/// What to say of the places, and when. A place is said when one is at it and it matters: within
/// six metres, or where one comes no nearer. It is said again only after one has left
/// it and two minutes have passed; whoever stands still hears nothing. One thread.
class Announcements {
 public:
  Detail detail = Detail::kWhere;
  /// Of the network's texts; empty when it is not known.
  std::string language;

  /// What to say after a report; absent for nothing.
  std::optional<Utterance> report(const Places& places, Instant now);

  /// While something else is to be heard, as a call: nothing is said, and afterwards only what is
  /// true then.
  void hush(bool hushed) { hushed_ = hushed; }

  /// Everything about the place that one is at; absent when there is none.
  std::optional<Utterance> more(const Places& places) const;

 private:
  /// What is known of a place that was said.
  struct Said {
    Instant said;
    /// When it was last within the distance at which one has left it.
    Instant near;
    bool left = false;
  };

  void noteDistances(const Places& places, Instant now);
  bool matters(const Sighting& here);
  bool isNoise(const std::string& place, Instant now) const;
  Utterance utteranceOf(const BVAPIResolve& place, Detail detail) const;

  bool hushed_ = false;
  std::map<std::string, Said> said_;
  /// The place that one comes nearer to, its latest distances and the smallest so far.
  std::string approached_;
  std::deque<double> latest_;
  double smallest_ = 0.0;
  int notNearer_ = 0;
};

}  // namespace guidance
