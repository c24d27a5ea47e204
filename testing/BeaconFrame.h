// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "platform/Export.h"
#include "platform/UUID.h"
#include "platform/location/Advertisement.h"

namespace brivane::testing {

/// The proximity UUID that every beacon of the network sends.
BRIVANE_EXPORT platform::UUID networkUUID();

/// The frame of a beacon as a radio hears it, `rssi` in dBm; 127 and 0 for a frame without a
/// reading. At one metre its strength is -59 dBm.
BRIVANE_EXPORT platform::Advertisement beaconFrame(const platform::UUID& uuid, std::uint16_t major,
                                                   std::uint16_t minor, int rssi);

/// The same of a beacon of the network.
BRIVANE_EXPORT platform::Advertisement networkFrame(std::uint16_t major, std::uint16_t minor,
                                                    int rssi);

}  // namespace brivane::testing
