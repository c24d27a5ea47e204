// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVAPIResolveRequest.h"

std::shared_ptr<const BVAPIResolveRequest> BVAPIResolveRequest::initWithUUID_withMajor_withMinor(
    std::optional<std::string> uuid, std::int64_t major, std::int64_t minor) {
  auto request = std::make_shared<BVAPIResolveRequest>();
  request->setUuid(std::move(uuid));
  request->setMajor(major);
  request->setMinor(minor);
  request->setIsGPS(false);
  return request;
}
