// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BrivaneSDK/BVLocal.h"
#include "platform/Export.h"
#include "platform/JSONValue.h"

/// A place with its distance from the coordinate that was asked for.
class BRIVANE_EXPORT BVWaybeaconDistance {
 public:
  /// An immutable list, shared by all who hold it.
  using List = std::vector<std::shared_ptr<const BVWaybeaconDistance>>;

  /// The place that `dict` describes; empty when `dict` is null. Never null. Throws BVInvalidReply
  /// when `dict` is of another form.
  static std::shared_ptr<const BVWaybeaconDistance> parseWithDict(const platform::JSONValue* dict);

  /// Reads a body that holds one such place. Null, with a log line, when it is no JSON.
  static std::shared_ptr<const BVWaybeaconDistance> parse(const std::optional<std::string>& body);

  /// In the unit that the service sends.
  double distance() const { return distance_; }
  void setDistance(double value) { distance_ = value; }
  /// Never null in a record from a factory.
  const std::shared_ptr<const BVLocal>& local() const { return local_; }
  void setLocal(std::shared_ptr<const BVLocal> value) { local_ = std::move(value); }

 private:
  double distance_ = 0.0;
  std::shared_ptr<const BVLocal> local_;
};
