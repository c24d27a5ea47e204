// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bindings/c/brivane.h"

namespace brivane::internal {

// Tables of functions whose `user` is a global reference to the object of Java that they call.

brivane_http httpOf(void* client);
brivane_preferences preferencesOf(void* preferences);
brivane_property_list propertyListOf(void* list);
brivane_log logOf(void* log);
brivane_location locationOf(void* service);
brivane_live_host liveHostOf(void* host, bool positions);
brivane_observer observerOf(void* host);
/// Gives the reference back when it is released.
brivane_delegate delegateOf(void* link);

}  // namespace brivane::internal
