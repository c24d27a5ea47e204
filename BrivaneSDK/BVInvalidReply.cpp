#include "BrivaneSDK/BVInvalidReply.h"

BVInvalidReply::~BVInvalidReply() = default;
