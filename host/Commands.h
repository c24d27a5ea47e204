// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/Options.h"
#include "host/Screen.h"

namespace host {

// One function a command of the program. Each returns when it is done or interrupted, and throws
// Failure, or another std::exception for a file that cannot be read.

/// Detects the beacons of a recording and says which places were near.
void detectCapture(const DetectOptions& options, Screen& screen);
/// Detects beacons by this machine's radio and says which places are near.
void detectLive(const DetectOptions& options, Screen& screen);
/// Lists the beacons in range, without any service.
void scan(const ScanOptions& options, Screen& screen);
/// Writes what the radio hears into a capture.
void record(const RecordOptions& options, Screen& screen);
/// Lists the places near a coordinate.
void nearest(const NearestOptions& options, Screen& screen);
/// Attaches a payload to a beacon.
void payload(const PayloadOptions& options, Screen& screen);
/// Says what this is and what it runs on.
void info(const InfoOptions& options, Screen& screen);
/// Empties the store of answers. Throws Failure when it cannot be emptied.
void forget(const ForgetOptions& options, Screen& screen);

}  // namespace host
