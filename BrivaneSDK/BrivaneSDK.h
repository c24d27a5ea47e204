// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Everything a host application includes: install services, create a BVManager, implement
/// BVManagerDelegate.

#include "BrivaneSDK/BVAPI.h"                // IWYU pragma: export
#include "BrivaneSDK/BVAPIDelegate.h"        // IWYU pragma: export
#include "BrivaneSDK/BVAPILogin.h"           // IWYU pragma: export
#include "BrivaneSDK/BVAPINearest.h"         // IWYU pragma: export
#include "BrivaneSDK/BVAPIPayload.h"         // IWYU pragma: export
#include "BrivaneSDK/BVAPIResolve.h"         // IWYU pragma: export
#include "BrivaneSDK/BVAPIResolveRequest.h"  // IWYU pragma: export
#include "BrivaneSDK/BVAPISync.h"            // IWYU pragma: export
#include "BrivaneSDK/BVError.h"              // IWYU pragma: export
#include "BrivaneSDK/BVException.h"          // IWYU pragma: export
#include "BrivaneSDK/BVInvalidReply.h"       // IWYU pragma: export
#include "BrivaneSDK/BVLocal.h"              // IWYU pragma: export
#include "BrivaneSDK/BVManager.h"            // IWYU pragma: export
#include "BrivaneSDK/BVManagerDelegate.h"    // IWYU pragma: export
#include "BrivaneSDK/BVNetwork.h"            // IWYU pragma: export
#include "BrivaneSDK/BVUtil.h"               // IWYU pragma: export
#include "BrivaneSDK/BVWaybeacon.h"          // IWYU pragma: export
#include "BrivaneSDK/BVWaybeaconDistance.h"  // IWYU pragma: export
#include "BrivaneSDK/Version.h"              // IWYU pragma: export
#include "platform/Export.h"
#include "platform/Services.h"  // IWYU pragma: export

extern "C" {
/// The version of the library, 1.0.
BRIVANE_EXPORT extern const double BrivaneSDKVersionNumber;
/// The version as tools read it out of a binary: one line, with its line feed.
BRIVANE_EXPORT extern const char BrivaneSDKVersionString[];
}
