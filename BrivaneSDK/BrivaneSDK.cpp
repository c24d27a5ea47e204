// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BrivaneSDK.h"

#define AS_TEXT_(number) #number
#define AS_TEXT(number) AS_TEXT_(number)
#define AS_REAL_(whole, decimals) whole##.##decimals
#define AS_REAL(whole, decimals) AS_REAL_(whole, decimals)

const double BrivaneSDKVersionNumber = AS_REAL(BRIVANE_VERSION_MAJOR, BRIVANE_VERSION_MINOR);
const char BrivaneSDKVersionString[] =
    "@(#)PROGRAM:BrivaneSDK  PROJECT:BrivaneSDK-" AS_TEXT(BRIVANE_VERSION_MAJOR) "\n";
