// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/location/Instant.h"

namespace guidance {

/// How long to wait before logging in anew when the network is back, drawn at random up to two
/// minutes: it is back for everybody in its reach at once, and each has a login to make. Spread so
/// far, a city's stay below what it asks on an ordinary morning; docs/scale.md has figures.
platform::Duration loginDelay();

}  // namespace guidance
