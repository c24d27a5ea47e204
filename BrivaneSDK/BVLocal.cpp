// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVLocal.h"

#include "BrivaneSDK/ReplyReading.h"

using namespace brivane::internal;

std::shared_ptr<const BVLocal> BVLocal::parse(const platform::JSONValue* dict) {
  auto local = std::make_shared<BVLocal>();
  local->setName(textReading(valueForKey(dict, "name")));
  local->setAddress(textReading(valueForKey(dict, "address")));
  local->setCategory(textReading(valueForKey(dict, "category")));
  local->setCity(textReading(valueForKey(dict, "city")));
  local->setEmail(textReading(valueForKey(dict, "email")));
  local->setWeb(textReading(valueForKey(dict, "web")));
  local->setPhone(textReading(valueForKey(dict, "phone")));
  local->setZip(integerReading(valueForKey(dict, "zip")));
  return local;
}
