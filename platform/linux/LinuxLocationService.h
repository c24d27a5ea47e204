#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Export.h"
#include "platform/Location.h"
#include "platform/Log.h"
#include "platform/location/Advertisement.h"
#include "platform/location/Instant.h"
#include "platform/location/LocationCore.h"

namespace platform {

class PermissionBoard;

/// Whether the radio listens for beacons.
struct BluetoothStatus {
  bool listening = false;
  /// Why it does not, one line for a person that says what to do; empty while it is on the way.
  std::string fault;
};

/// The location service of a Linux phone: beacons through BlueZ, positions through GeoClue, both
/// over the system bus, without any privilege.
///
/// A manager belongs to the GLib main context that is the default of the thread that creates it,
/// and its delegate is called while that context runs: under a GMainLoop, under Qt's event loop, or
/// on a thread with a context of its own. Nothing blocks there. A manager may be dropped on any
/// thread, also from inside a call to its delegate.
///
/// The radio listens while a region is monitored or ranged; what happens to the daemon or the
/// adapter meanwhile is mended by itself. While a manager wants nothing, nothing runs.
class BRIVANE_EXPORT LinuxLocationService final : public LocationService {
 public:
  struct Options {
    /// The Bluetooth adapter, as "hci0" or by its address; empty for whichever there is.
    std::string adapter = {};
    /// Name of the application's desktop file, without its ending, by which GeoClue and the user
    /// know it; empty for an application that wants no positions.
    std::string desktopId = {};
    /// How long a region stays inside without a frame.
    Duration exitPeriod = LocationCore::kExitPeriod;
    /// For a line on each fault that is mended without the host's knowledge; may be null.
    std::shared_ptr<Log> log = nullptr;
    /// Called on the manager's thread when listening begins or ceases, and at each fault; may be
    /// empty.
    std::function<void(const BluetoothStatus&)> onBluetooth = nullptr;
    /// Called on the manager's thread, with the reason for a person, when GeoClue gives no
    /// positions; may be empty.
    std::function<void(const std::string&)> onNoPositions = nullptr;
    /// Called on the manager's thread with each frame of a beacon, before it is used; may be empty.
    std::function<void(const Advertisement&)> onAdvertisement = nullptr;
  };

  explicit LinuxLocationService(Options options);
  ~LinuxLocationService() override;

  /// Not determined until a manager asked for permanent authorisation; then as BlueZ and GeoClue
  /// grant.
  std::int32_t authorizationStatus() const override;
  /// False once GeoClue turned out to be absent or switched off, for an application with a desktop
  /// ID.
  bool locationServicesEnabled() const override;
  std::shared_ptr<CLLocationManager> createManager() override;

 private:
  const Options options_;
  const std::shared_ptr<PermissionBoard> board_;
};

}  // namespace platform
