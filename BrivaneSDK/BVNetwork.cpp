// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVNetwork.h"

const char* BVNetwork::apiHost() { return BRIVANE_API_HOST; }

const char* BVNetwork::proximityUUID() { return BRIVANE_PROXIMITY_UUID; }
