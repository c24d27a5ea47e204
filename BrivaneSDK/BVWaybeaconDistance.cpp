// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVWaybeaconDistance.h"

#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

std::shared_ptr<const BVWaybeaconDistance> BVWaybeaconDistance::parseWithDict(
    const platform::JSONValue* dict) {
  auto place = std::make_shared<BVWaybeaconDistance>();
  place->setDistance(realReading(valueForKey(dict, "distance")));
  place->setLocal(BVLocal::parse(valueForKey(dict, "local")));
  return place;
}

std::shared_ptr<const BVWaybeaconDistance> BVWaybeaconDistance::parse(
    const std::optional<std::string>& body) {
  const auto reply = readReply(body);
  return reply ? parseWithDict(&*reply) : nullptr;
}
