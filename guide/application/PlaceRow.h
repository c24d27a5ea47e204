// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "guidance/Nearby.h"
#include "guidance/Places.h"

namespace guide {

/// A place as one line that reads well aloud, and what is shown of it when that is opened.
struct PlaceRow {
  struct Detail {
    std::string text;
    /// What is opened when the detail is activated; empty for nothing.
    std::string uri;

    friend bool operator==(const Detail&, const Detail&) = default;
  };

  /// The same for the same place from one showing to the next.
  std::string id;
  std::string name;
  /// Where it is.
  std::string line;
  std::vector<Detail> details;

  friend bool operator==(const PlaceRow&, const PlaceRow&) = default;
};

/// A place in range: its distance and where its beacon is; opened, what to mind there, its link and
/// what is attached to it.
PlaceRow rowOf(const guidance::Sighting& sighting);

/// A place nearby: its distance, direction and address; opened, its kind and how to reach it.
PlaceRow rowOf(const guidance::NearbyPlace& nearby);

}  // namespace guide
