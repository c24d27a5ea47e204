// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVInvalidReply.h"

BVInvalidReply::~BVInvalidReply() = default;
