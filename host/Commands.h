#pragma once

#include "host/Options.h"

namespace host {

// One function a command of the program. Each returns when it is done or interrupted, and throws
// Failure, or another std::exception for a file that cannot be read.

/// Detects beacons and says which places are near.
void detect(const DetectOptions& options);
/// Lists the places near a coordinate.
void nearest(const NearestOptions& options);
/// Attaches a payload to a beacon.
void payload(const PayloadOptions& options);
/// Says what this is and what it runs on.
void info(bool json);

}  // namespace host
