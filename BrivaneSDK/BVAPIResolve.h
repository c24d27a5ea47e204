// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "BrivaneSDK/BVWaybeacon.h"
#include "platform/Export.h"

/// The service's answer to a resolve: which beacon of the network, or which place, the device is
/// at. The resolution cache and the host share one record, so nothing changes it after `parse`.
class BRIVANE_EXPORT BVAPIResolve {
 public:
  /// Reads the body of a resolve reply. Null, with a log line, when it is no JSON or says that the
  /// beacon is unknown. Throws BVInvalidReply for JSON of another form.
  static std::shared_ptr<const BVAPIResolve> parse(const std::optional<std::string>& body);

  /// The matched beacon; never null in a record from `parse`.
  const std::shared_ptr<const BVWaybeacon>& waybeacon() const { return waybeacon_; }
  void setWaybeacon(std::shared_ptr<const BVWaybeacon> value) { waybeacon_ = std::move(value); }
  /// Signal strength as the service returned it, dBm; not the present reading.
  std::int64_t rssi() const { return rssi_; }
  void setRssi(std::int64_t value) { rssi_ = value; }
  /// How near the beacon is, in the service's words.
  const std::optional<std::string>& proximity() const { return proximity_; }
  void setProximity(std::optional<std::string> value) { proximity_ = std::move(value); }
  /// The identifier that the service matched.
  const std::optional<std::string>& uuid() const { return uuid_; }
  void setUuid(std::optional<std::string> value) { uuid_ = std::move(value); }

  /// One line for a log.
  std::string description() const;

 private:
  std::shared_ptr<const BVWaybeacon> waybeacon_;
  std::int64_t rssi_ = 0;
  std::optional<std::string> proximity_;
  std::optional<std::string> uuid_;
};
