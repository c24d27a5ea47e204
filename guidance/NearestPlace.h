// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>

namespace guidance {

/// Which place a person is at, from the places that were matched. A place is the nearest when it
/// leads three ranging reports in succession: readings scatter, and midway between two beacons each
/// report would name the other. One thread.
class NearestPlace {
 public:
  /// What is new to a person about a match.
  enum class News { kNothing, kFirstSight, kNearest };

  /// `place`, an identifier, was matched; `leads` when it is the first of a ranging report.
  News match(const std::string& place, bool leads);

  /// Nothing is near any more: the same place may become the nearest again.
  void forget();

  /// Empty while there is none.
  const std::string& nearest() const { return nearest_; }
  const std::set<std::string>& matched() const { return matched_; }

 private:
  bool becomesNearest(const std::string& place);

  std::set<std::string> matched_;
  std::string nearest_;
  std::string leading_;
  int led_ = 0;
};

}  // namespace guidance
