// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVAPIResolve.h"

#include "BrivaneSDK/LogLine.h"
#include "BrivaneSDK/NullText.h"
#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

namespace {

/// Whether the reply says that the service does not know the beacon: its status is false, or true
/// with a null beacon. Without a status it says neither.
bool saysUnknown(const platform::JSONValue& reply) {
  const platform::JSONValue* status = valueForKey(&reply, "status");
  if (status == nullptr) return false;
  if (!booleanReading(status)) return true;
  const platform::JSONValue* beacon = reply.find("beacon");
  return beacon != nullptr && beacon->isNull();
}

}  // namespace

std::shared_ptr<const BVAPIResolve> BVAPIResolve::parse(const std::optional<std::string>& body) {
  const auto reply = readReply(body);
  if (!reply) return nullptr;
  if (saysUnknown(*reply)) {
    logLine("Beacon not found");
    return nullptr;
  }
  // The service sends the fields either wrapped in "beacon" or flat.
  const platform::JSONValue* wrapped = valueForKey(&*reply, "beacon");
  const platform::JSONValue* source = wrapped != nullptr ? wrapped : &*reply;
  auto record = std::make_shared<BVAPIResolve>();
  record->setRssi(integerReading(valueForKey(source, "rssi")));
  record->setProximity(textReading(valueForKey(source, "proximity")));
  record->setUuid(textReading(valueForKey(source, "match")));
  record->setWaybeacon(BVWaybeacon::parseWithDict(valueForKey(source, "waybeacon")));
  return record;
}

std::string BVAPIResolve::description() const {
  return std::string("Match UUID: ").append(orNull(uuid_));
}
