// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "BrivaneSDK/BVAPIResolve.h"
#include "BrivaneSDK/BVWaybeaconDistance.h"
#include "platform/JSONValue.h"

namespace host {

/// Records as JSON, member by member under the names of their fields.
platform::JSONValue::Object resolveJSON(const BVAPIResolve& resolve);
platform::JSONValue::Object placeJSON(const BVWaybeaconDistance& place);

/// One line of JSON. A number that JSON cannot hold has become null.
std::string jsonLine(platform::JSONValue::Object members);
/// What happened at a time, which is told to the millisecond, as one line of JSON.
std::string eventLine(double seconds, const char* event, platform::JSONValue::Object members);

}  // namespace host
