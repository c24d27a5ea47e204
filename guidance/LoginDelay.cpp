// SPDX-License-Identifier: Apache-2.0
#include "guidance/LoginDelay.h"

#include <chrono>
#include <random>

namespace guidance {

platform::Duration loginDelay() {
  constexpr platform::Duration kLongest = std::chrono::minutes(2);
  std::random_device chance;
  std::uniform_int_distribution<platform::Duration::rep> within(0, kLongest.count());
  return platform::Duration(within(chance));
}

}  // namespace guidance
