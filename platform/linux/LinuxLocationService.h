// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/Export.h"
#include "platform/location/LiveLocationService.h"

namespace platform {

/// The location service of a Linux phone: beacons through BlueZ, positions through GeoClue, both
/// over the system bus, without any privilege.
///
/// Its event loop is the GLib main context that is the default of the thread that creates a
/// manager: that of a GMainLoop, of Qt's event loop, or of a thread with a context of its own.
/// Nothing blocks there. What happens to the daemons or the adapter meanwhile is mended by itself.
class BRIVANE_EXPORT LinuxLocationService final : public LiveLocationService {
 public:
  /// What a host may choose.
  struct Options {
    /// The Bluetooth adapter, as "hci0" or by its address; empty for whichever there is.
    std::string adapter = {};
    /// Name of the application's desktop file, without its ending, by which GeoClue and the user
    /// know it; empty for an application that wants no positions.
    std::string desktopId = {};
    /// What is the same on every phone.
    LiveLocationService::Options live = {};
  };

  /// Connects to nothing: that begins with a manager.
  explicit LinuxLocationService(const Options& options);
};

}  // namespace platform
