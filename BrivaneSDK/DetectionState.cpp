// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/DetectionState.h"

#include "BrivaneSDK/BVNetwork.h"
#include "platform/UUID.h"

namespace brivane::internal {
namespace {

std::shared_ptr<platform::CLBeaconRegion> makeRegion() {
  const auto uuid = platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value();
  auto region = platform::CLBeaconRegion::initWithProximityUUID_identifier(uuid, "BrivaneNetwork");
  region->setNotifyOnEntry(true);
  region->setNotifyOnExit(true);
  region->setNotifyEntryStateOnDisplay(true);
  return region;
}

}  // namespace

DetectionState::DetectionState()
    : region(makeRegion()), regionUUID(region->proximityUUID().UUIDString()) {}

DetectionState& detectionState() {
  static auto& only = *new DetectionState;
  return only;
}

}  // namespace brivane::internal
