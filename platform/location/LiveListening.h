// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/Location.h"
#include "platform/UUID.h"
#include "platform/location/Consent.h"
#include "platform/location/EventLoop.h"
#include "platform/location/LiveLocationService.h"
#include "platform/location/LocationCore.h"
#include "platform/location/PositionSource.h"
#include "platform/location/Radio.h"

namespace platform {

/// What runs for the location managers of one event loop: feeds their logic from the radio and the
/// positions, starts these when a manager wants something of them and stops them when none does.
class LiveListening final : public std::enable_shared_from_this<LiveListening>,
                            public Radio::Listener,
                            public PositionSource::Listener,
                            public Consent::Listener {
 public:
  using Sources = LiveLocationService::Sources;
  using Options = LiveLocationService::Options;

  static std::shared_ptr<LiveListening> begin(std::shared_ptr<EventLoop> loop,
                                              const Sources& sources, const Options& options,
                                              const std::shared_ptr<Consent>& consent);
  ~LiveListening() override;

  /// On the loop's thread.
  std::shared_ptr<CLLocationManager> createManager() { return core_.createManager(); }

  /// Ends `live`, whose last manager has gone: at once on the loop's thread, or when nobody runs
  /// the loop, and soon on another.
  static void end(std::shared_ptr<LiveListening> live);

 private:
  LiveListening(std::shared_ptr<EventLoop> loop, const Sources& sources, Options options,
                std::shared_ptr<Consent> consent);

  template <typename Deed>
  void enter(Deed deed);
  void wake();
  void close();

  void update();
  void tellPermission();
  void tell(const Permission& permission);
  void updateSources();
  void updateRadio();
  void updatePositions();

  void radioHeard(const Advertisement& advertisement, Instant time) override;
  void radioChanged(const Radio::Status& status) override;
  void positionFound(const CLLocation& position) override;
  void positionGrantChanged(PositionGrant grant, const std::string& reason) override;
  void consentChanged() override { wake(); }

  Instant now();
  void noticeSleep();
  void setTimer();

  const std::shared_ptr<EventLoop> loop_;
  const Options options_;
  const std::shared_ptr<Consent> consent_;
  /// What the managers were told last.
  Permission told_;
  LocationCore core_;
  /// Whether an update is on its way.
  std::atomic<bool> awake_ = false;
  /// How many calls into this are under way, one inside another.
  int depth_ = 0;
  bool postponed_ = false;
  bool closed_ = false;
  /// Keeps what was closed inside its own calls until they have returned.
  std::shared_ptr<LiveListening> self_;

  LocationCore::Wanted wanted_;
  /// What the radio was asked to hear; absent while it is stopped.
  std::optional<Radio::Wanted> sought_;
  /// The fault of the radio that managers were told last.
  std::string fault_;
  /// The accuracy of the positions, metres; absent while they are stopped.
  std::optional<double> accuracy_;
  bool asksForPositions_ = false;
  bool saidWithoutPositions_ = false;

  /// The deadline that the timer is set to, and by how much the logic's time is behind the loop's.
  std::optional<Instant> armed_;
  Duration behind_{};
  /// How much of the device's sleep the logic knows of.
  Duration slept_;

  // These call back, so they go first.
  std::unique_ptr<EventLoop::Timer> timer_;
  std::unique_ptr<Radio> radio_;
  std::unique_ptr<PositionSource> positions_;
};

}  // namespace platform
