// SPDX-License-Identifier: Apache-2.0
#include "platform/Location.h"

#include <utility>

namespace platform {

std::shared_ptr<CLBeaconRegion> CLBeaconRegion::initWithProximityUUID_identifier(
    UUID proximityUUID, std::string identifier) {
  return std::shared_ptr<CLBeaconRegion>(new CLBeaconRegion(proximityUUID, std::move(identifier)));
}

CLBeaconRegion::CLBeaconRegion(UUID proximityUUID, std::string identifier)
    : proximityUUID_(proximityUUID), identifier_(std::move(identifier)) {}

}  // namespace platform
