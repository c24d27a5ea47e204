// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

/// The beacon network that this build of the library serves. Fixed when the library is built (CMake
/// variables BRIVANE_API_HOST and BRIVANE_PROXIMITY_UUID); nothing changes it at run time.
class BRIVANE_EXPORT BVNetwork {
 public:
  /// Host name of the web service.
  static const char* apiHost();
  /// The proximity UUID that every beacon of the network sends, 36 characters.
  static const char* proximityUUID();
};
