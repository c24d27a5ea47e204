// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace guidance {

/// On which day a time was, as a person says it: "from today", "from yesterday", "from 3 days ago".
/// Days are those of the local calendar; a time after `now` counts as today.
std::string ageText(std::chrono::system_clock::time_point time,
                    std::chrono::system_clock::time_point now);

}  // namespace guidance
