// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BrivaneSDK.h"

const double BrivaneSDKVersionNumber = 1.0;
const char BrivaneSDKVersionString[] = "@(#)PROGRAM:BrivaneSDK  PROJECT:BrivaneSDK-1\n";
