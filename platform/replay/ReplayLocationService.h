// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/location/LocationCore.h"
#include "platform/location/Permission.h"
#include "platform/replay/BtsnoopReader.h"
#include "platform/replay/GpxTrack.h"
#include "platform/replay/ReplayClock.h"

namespace platform {

/// A location service that hears and moves as somebody once did: advertisements from a capture,
/// positions from a track. Permanently authorised. Managers belong to the thread that calls `run`.
class BRIVANE_EXPORT ReplayLocationService final : public LocationService {
 public:
  /// What is played, and how.
  struct Options {
    /// A btsnoop file.
    std::string capture;
    /// A GPX file; absent for no positions.
    std::optional<std::string> track;
    /// Recorded seconds a second, above 0; absent for full speed.
    std::optional<double> speed;
    /// At full speed, called each time before the clock moves: while it blocks, time stands still.
    /// May be empty.
    std::function<void()> waitUntilIdle;
    /// Called with the part of the capture that has been played, 0 to 1, on the thread of `run`.
    /// May be empty.
    std::function<void(double)> onProgress;
    /// Called with the length of each silence of more than an hour, which is played as an hour, on
    /// the thread of `run`. May be empty.
    std::function<void(Duration)> onCut;
    /// Of the location service that is fed.
    LocationCore::Options location = {.permission = alwaysPermitted};
  };

  /// Opens the files. Throws CaptureError when one is missing or of another kind.
  explicit ReplayLocationService(Options options);

  /// Plays the recording, and calls the managers' delegates, until one second after its end, until
  /// `limit` has passed on the clock, or until it is stopped. Throws CaptureError where the capture
  /// is cut or corrupt, after all that comes before has been played.
  void run(std::optional<Duration> limit = std::nullopt);

  /// Ends `run` soon. Any thread.
  void stop() { clock_.stop(); }

  /// Time on the recording's clock, from its beginning. Any thread.
  Instant now() const { return clock_.now(); }

  std::int32_t authorizationStatus() const override { return core_.authorizationStatus(); }
  bool locationServicesEnabled() const override { return core_.locationServicesEnabled(); }
  std::shared_ptr<CLLocationManager> createManager() override { return core_.createManager(); }

 private:
  void readAhead();
  bool playNext(Instant limit);
  /// Moves the clock to `time`, with all reports that are due on the way; false when it is stopped.
  bool advanceTo(Instant time);

  const Options options_;
  LocationCore core_;
  ReplayClock clock_;
  BtsnoopReader capture_;
  std::deque<TrackPoint> track_;
  /// The record to be played next; absent at the capture's end, and at a fault.
  std::optional<BtsnoopReader::Record> record_;
  /// The fault that was met in reading ahead.
  std::exception_ptr fault_;
  UTCTime beginning_{};
};

}  // namespace platform
