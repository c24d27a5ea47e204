// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "BrivaneSDK/BVWaybeaconDistance.h"
#include "platform/Export.h"

/// The service's answer to a question for the places near a coordinate.
class BRIVANE_EXPORT BVAPINearest {
 public:
  /// Reads the body of a nearest reply. Null, with a log line, when it is no JSON. Throws
  /// BVInvalidReply for JSON of another form.
  static std::shared_ptr<const BVAPINearest> parse(const std::optional<std::string>& body);

  /// The places in the order of the reply; null when there are none.
  const std::shared_ptr<const BVWaybeaconDistance::List>& beacons() const { return beacons_; }
  void setBeacons(std::shared_ptr<const BVWaybeaconDistance::List> value) {
    beacons_ = std::move(value);
  }

 private:
  std::shared_ptr<const BVWaybeaconDistance::List> beacons_;
};
