#pragma once

#include <cstdint>
#include <string>

#include "service/Network.h"

/// A street with 2,000 beacons, and somebody who walks round it: at any second 50 beacons are in range, and with each
/// second one goes and another comes.
class Street {
 public:
  static constexpr int kBeacons = 2000;
  static constexpr int kInRange = 50;

  /// What the service knows of it.
  static service::Network network();

  /// Writes the advertisements that are heard in so many seconds into a new capture at `path`.
  static void record(const std::string& path, int seconds);

  /// The number of the beacon with this major and minor; from kBeacons on when the street has none.
  static int beacon(std::int64_t major, std::int64_t minor);

  /// Whether it is in range at this second of the walk.
  static bool isInRange(int beacon, int second);
};
