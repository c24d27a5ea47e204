// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/UUID.h"
#include "platform/location/Advertisement.h"

namespace platform {

/// Keeps what BlueZ says of the devices around, and knows when that means that one was heard. Only
/// frames of beacons are of interest, and come out.
///
/// Every function takes properties of org.bluez.Device1 as a dictionary (a{sv}) and trusts neither
/// the types nor the contents of its values.
class BlueZDevices {
 public:
  /// A device that BlueZ has known for some time: not heard now.
  void know(const std::string& path, GVariant* properties);
  /// A device that BlueZ has found: heard for the first time.
  std::optional<Advertisement> find(const std::string& path, GVariant* properties);
  /// Properties of a device have changed or have become invalid (as).
  std::optional<Advertisement> change(const std::string& path, GVariant* changed,
                                      GVariant* invalidated);
  /// Whether the properties mean that the device was heard now: they bear its signal strength or
  /// what it advertises. One that connects or is paired changes too, though nothing was heard.
  static bool isSighting(GVariant* properties);

  /// The latest frame of a beacon, with the signal strength that is known; absent for another
  /// device.
  std::optional<Advertisement> latest(const std::string& path) const;
  /// Paths of the beacons of networks.
  std::vector<std::string> beaconsOf(const std::set<UUID>& networks) const;

  void forget(const std::string& path) { devices_.erase(path); }
  void forgetAll() { devices_.clear(); }

 private:
  struct Device {
    std::vector<std::uint8_t> frame;
    int rssi = 0;
  };

  static std::optional<Advertisement> heard(const std::string& path, const Device& device);

  std::map<std::string, Device, std::less<>> devices_;
};

}  // namespace platform
