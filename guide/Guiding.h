// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "BrivaneSDK/BVManager.h"
#include "guidance/Connection.h"
#include "guidance/Guide.h"
#include "guide/BeaconWatch.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/linux/NetworkWatch.h"
#include "platform/offline/OfflineHTTPClient.h"
#include "platform/replay/ReplayLocationService.h"

namespace guide {

using guidance::Guide;
using platform::Instant;

/// The library on its adapters, as a host that runs for days: it logs in, and again when the token
/// has expired or the network is back, listens live or plays a recording, and tells the guide what
/// comes. One in a process, which installs the services; made, used and destroyed on the thread of
/// GLib's main context, where all that comes on others is brought first. Nothing blocks that for
/// longer than a file takes to be written.
class Guiding final : private BVManagerDelegate {
 public:
  struct Options {
    /// The network's property list, which is read whenever a manager is made.
    std::string info = {};
    /// HOST:PORT that connections go to in place of the API host; empty for the API host itself.
    std::string connect = {};
    /// File of the certificates to trust; empty for the system's.
    std::string ca = {};
    /// A btsnoop file that is played in place of the radio, and a GPX file for it; empty for none.
    std::string capture = {};
    std::string track = {};
    /// Times the recorded pace.
    double speed = 1.0;

    friend bool operator==(const Options&, const Options&) = default;
  };

  /// `application`: identifier of its desktop file, and of its folder of preferences. Throws
  /// std::exception, one line for a person, for an option or a file that cannot be used.
  Guiding(Options options, const std::string& application, Guide& guide);
  /// Nothing is told afterwards.
  ~Guiding() override;
  Guiding(const Guiding&) = delete;
  Guiding& operator=(const Guiding&) = delete;

  /// Guides until it is stopped; anew, if it does already.
  void start(bool usesPositions);
  void stop();
  bool isGuiding() const { return isGuiding_; }
  /// Logs in at once, if it is waiting to try again.
  void tryAgain();

  /// Asks for the places within `radius` metres of a coordinate; false when there is no session,
  /// and nothing will come then.
  bool askNearby(double latitude, double longitude, std::int64_t radius);

 private:
  class Location;

  Instant now() const;
  void tell(std::function<void()> news);
  template <auto news>
  auto telling();

  std::shared_ptr<platform::LocationService> liveLocation();
  std::shared_ptr<platform::LocationService> recordedLocation();
  void play();

  template <typename Change>
  void changeSession(Change change);
  void networkIsBack();
  void tend();
  void makeManager();
  void detectIfReady();
  void endManager();

  void transferred(const platform::TransferOutcome& outcome);
  void reportEnds();
  void didIsReady() override;
  void didErrorFound(const std::shared_ptr<const BVError>& error) override;
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override;
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& list) override;

  const Options options_;
  const std::string application_;
  Guide& guide_;
  std::shared_ptr<platform::CurlHTTPClient> web_;
  /// Before it, what the service answered earlier.
  std::shared_ptr<platform::OfflineHTTPClient> http_;
  const std::shared_ptr<Location> location_;

  bool isGuiding_ = false;
  bool usesPositions_ = false;
  /// Counts starts and stops: what was begun before the latest is not told any more.
  std::atomic<int> run_ = 0;
  guidance::Connection connection_;
  /// The source that logs in when that is due; 0 while none waits.
  unsigned timer_ = 0;
  std::shared_ptr<BVManager> manager_;
  std::shared_ptr<BeaconWatch> watch_;
  std::unique_ptr<platform::NetworkWatch> network_;
  /// Null while it listens live.
  std::shared_ptr<platform::ReplayLocationService> replay_;
  /// What a report has brought so far, on the thread on which beacons are ranged.
  std::vector<guidance::Sighting> report_;

  /// Since when the answer is kept that is called back next, on the thread that calls back.
  Guide::Time keptSince_;

  /// Plays the recording.
  std::jthread player_;
};

}  // namespace guide
