// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/replay/UTCTime.h"

namespace platform {

/// One recorded position.
struct TrackPoint {
  /// When the device was there.
  UTCTime time;
  /// Where it was.
  CLLocation location;
};

/// The points of all tracks in a GPX 1.1 file, by time. The accuracy is five metres for each unit
/// of a point's "hdop", and five metres without one. Throws CaptureError, with the offset, for a
/// file that is missing, no XML, or has a point without a place or a time.
BRIVANE_EXPORT std::vector<TrackPoint> readGpxTrack(const std::string& path);

}  // namespace platform
