// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVWaybeacon.h"

#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

std::shared_ptr<const BVWaybeacon> BVWaybeacon::parseWithDict(const platform::JSONValue* dict) {
  auto beacon = std::make_shared<BVWaybeacon>();
  beacon->setUuid(textReading(valueForKey(dict, "uuid")));
  beacon->setName(textReading(valueForKey(dict, "name")));
  beacon->setLatitude(realReading(valueForKey(dict, "latitude")));
  beacon->setLongitude(realReading(valueForKey(dict, "longitude")));
  beacon->setLocation(textReading(valueForKey(dict, "location")));
  beacon->setAccesibility(textReading(valueForKey(dict, "accesibility")));
  beacon->setUrl(textReading(valueForKey(dict, "url")));
  beacon->setPayload(objectReading(valueForKey(dict, "payload")));
  return beacon;
}

std::shared_ptr<const BVWaybeacon> BVWaybeacon::parse(const platform::JSONValue& /*any*/) {
  return nullptr;
}
