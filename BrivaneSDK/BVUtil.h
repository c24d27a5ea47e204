// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"

/// The identity of this device and of the beacons it hears. Any thread; keeps nothing.
class BRIVANE_EXPORT BVUtil {
 public:
  /// The device's hardware identifier, as the operating system reports it.
  static std::string getModel();

  /// The identifier of this installation: a canonical UUID, made on the first call and kept in the
  /// preferences under "installUUID" from then on. Absent only when something other than text is
  /// stored there. Two first calls at once may each make one; the one stored last remains.
  static std::optional<std::string> getInstallationID();

  /// The key under which one beacon is cached and its requests are counted: the three values as
  /// plain text, joined by underscores.
  static std::string getHash_andMajor_andMinor(std::string_view uuid, std::int64_t major,
                                               std::int64_t minor);
};
