// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVAPISync.h"

#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

std::shared_ptr<const BVAPISync> BVAPISync::parse(const std::optional<std::string>& body) {
  const auto reply = readReply(body);
  if (!reply) return nullptr;
  auto record = std::make_shared<BVAPISync>();
  record->setPubkey(textReading(valueForKey(&*reply, "pubkey")));
  record->setOffline(booleanReading(valueForKey(&*reply, "offline")));
  record->setStatus(booleanReading(valueForKey(&*reply, "status")));
  record->setInternal(booleanReading(valueForKey(&*reply, "internal")));
  return record;
}
