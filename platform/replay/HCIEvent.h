// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/Export.h"
#include "platform/location/Advertisement.h"

namespace platform {

/// The manufacturers' advertisements in one HCI event, as a controller sends it: LE advertising
/// reports, legacy and extended. Any other event has none, and neither has an extended report that
/// came in pieces. Advertising data is from the air: what is malformed in it is passed over. Throws
/// std::invalid_argument when the event's own lengths contradict each other.
BRIVANE_EXPORT std::vector<Advertisement> advertisementsIn(std::span<const std::uint8_t> event);

}  // namespace platform
