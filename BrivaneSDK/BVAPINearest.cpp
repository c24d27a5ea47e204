// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVAPINearest.h"

#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

std::shared_ptr<const BVAPINearest> BVAPINearest::parse(const std::optional<std::string>& body) {
  const auto reply = readReply(body);
  if (!reply) return nullptr;
  auto record = std::make_shared<BVAPINearest>();
  const auto elements = listReading(valueForKey(&*reply, "beacons"));
  if (elements.empty()) return record;
  BVWaybeaconDistance::List places;
  places.reserve(elements.size());
  for (const platform::JSONValue& element : elements) {
    places.push_back(BVWaybeaconDistance::parseWithDict(&element));
  }
  record->setBeacons(std::make_shared<const BVWaybeaconDistance::List>(std::move(places)));
  return record;
}
