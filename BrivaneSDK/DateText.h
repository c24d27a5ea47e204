// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace brivane::internal {

/// A time as the log prints it, in whole seconds of universal time: "2026-11-21 09:30:00 +0000".
std::string dateText(std::chrono::system_clock::time_point time);

}  // namespace brivane::internal
