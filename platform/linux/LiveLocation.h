#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/Location.h"
#include "platform/UUID.h"
#include "platform/linux/BlueZRadio.h"
#include "platform/linux/GeoCluePositions.h"
#include "platform/linux/LinuxLocationService.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/PermissionBoard.h"
#include "platform/location/LocationCore.h"

namespace platform {

/// What runs for one location manager, on the main context of its thread: feeds its logic from the
/// radio and from GeoClue, starts these when it wants something of them and ends them when it does
/// not.
class LiveLocation : public std::enable_shared_from_this<LiveLocation> {
 public:
  using Options = LinuxLocationService::Options;

  /// A manager; what runs for it ends with it.
  static std::shared_ptr<CLLocationManager> createManager(
      const Options& options, const std::shared_ptr<PermissionBoard>& board);

  LiveLocation(const Options& options, std::shared_ptr<PermissionBoard> board);

  /// Has the context look after what changed. Any thread.
  void wake();

 private:
  /// Ends it on its thread, or here when nobody runs its context.
  static void end(std::shared_ptr<LiveLocation> live);
  void close();

  template <typename Deed>
  void enter(Deed deed);

  void update();
  void updateSources();
  void updatePermission();
  void updateBluetooth(const std::set<UUID>& networks);
  void updatePositions();
  void tell(const Permission& permission);
  void onBluetooth(const BlueZRadio::Status& status);
  void onHeard(const Advertisement& advertisement);
  void onGrant(PositionGrant grant, const std::string& reason);

  Instant now();
  void arm();

  const MainContext context_;
  const Options options_;
  const std::shared_ptr<PermissionBoard> board_;
  Permission told_;
  LocationCore core_;
  Timer timer_;
  std::atomic<bool> awake_ = false;
  /// How many calls from the sources are under way, one inside another.
  int depth_ = 0;
  bool postponed_ = false;
  bool closed_ = false;
  /// Keeps what was ended from inside its own calls until they have returned.
  std::shared_ptr<LiveLocation> self_;

  LocationCore::Wanted wanted_;
  std::string fault_;
  bool asksForPositions_ = false;
  bool saidWithoutPositions_ = false;

  /// The deadline that the timer is set to, and by how much our time is behind the monotonic clock.
  std::optional<Instant> armed_;
  Duration behind_{};

  std::unique_ptr<BlueZRadio> bluetooth_;
  std::unique_ptr<GeoCluePositions> positions_;
};

}  // namespace platform
