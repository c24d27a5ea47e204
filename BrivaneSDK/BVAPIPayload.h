// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/Export.h"
#include "platform/JSONValue.h"

/// The service's answer to a payload being attached to a beacon.
class BRIVANE_EXPORT BVAPIPayload {
 public:
  /// Reads the body of a payload reply. Null, with a log line, when it is no JSON or says that the
  /// call failed. Throws BVInvalidReply for JSON of another form.
  static std::shared_ptr<const BVAPIPayload> parse(const std::optional<std::string>& body);

  /// The identifier of the beacon that the payload belongs to.
  const std::optional<std::string>& uuid() const { return uuid_; }
  void setUuid(std::optional<std::string> value) { uuid_ = std::move(value); }
  /// The payload as the service returned it, an object by rule; JSON null where there is none.
  const platform::JSONValue& payload() const { return payload_; }
  void setPayload(platform::JSONValue value) { payload_ = std::move(value); }

 private:
  std::optional<std::string> uuid_;
  platform::JSONValue payload_;
};
