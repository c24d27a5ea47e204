// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "BrivaneSDK/BVAPIResolve.h"
#include "guidance/NearestPlace.h"
#include "platform/location/Instant.h"

namespace guidance {

using platform::Duration;
using platform::Instant;

/// A place of a ranging report.
struct Sighting {
  /// As the service names it; never null, and with an identifier.
  std::shared_ptr<const BVAPIResolve> place;
  /// Estimated distance of its beacon; absent while that is silent.
  std::optional<double> metres = {};
  /// When the service named it, where that comes from a store; absent elsewhere.
  std::optional<std::chrono::system_clock::time_point> keptSince = {};
};

/// Which places a person is near, from one ranging report to the next. One thread.
class Places {
 public:
  /// Takes a report; whether what follows has changed by it.
  bool report(const std::vector<Sighting>& places, Instant now);
  /// Nothing is heard any more.
  void clear();

  /// The place that one is at: the nearest, until it has not been heard for ten seconds; null
  /// while there is none.
  const Sighting* here() const { return here_ ? &*here_ : nullptr; }
  /// The places in range, nearest first.
  const std::vector<Sighting>& around() const { return around_; }

 private:
  NearestPlace nearest_;
  std::optional<Sighting> here_;
  Instant heardHere_;
  std::vector<Sighting> around_;
};

}  // namespace guidance
