// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "BrivaneSDK/BVNetwork.h"
#include "platform/Location.h"
#include "platform/UUID.h"

namespace host {

/// All beacons of the network, for commands that listen without the library.
inline std::shared_ptr<platform::CLBeaconRegion> networkRegion() {
  return platform::CLBeaconRegion::initWithProximityUUID_identifier(
      platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value(), "brivane");
}

}  // namespace host
