// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVAPIPayload.h"

#include "BrivaneSDK/LogLine.h"
#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

std::shared_ptr<const BVAPIPayload> BVAPIPayload::parse(const std::optional<std::string>& body) {
  const auto reply = readReply(body);
  if (!reply) return nullptr;
  const platform::JSONValue* status = valueForKey(&*reply, "status");
  if (status != nullptr && !booleanReading(status)) {
    logLine("Beacon not found");
    return nullptr;
  }
  auto record = std::make_shared<BVAPIPayload>();
  record->setUuid(textReading(valueForKey(&*reply, "uuid")));
  record->setPayload(objectReading(valueForKey(&*reply, "payload")));
  return record;
}
