// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVException.h"

#include <utility>

BVException::BVException(std::string name, const std::string& reason)
    : std::runtime_error(reason), name_(std::move(name)) {}

BVException::~BVException() = default;
