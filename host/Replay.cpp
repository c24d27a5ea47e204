// SPDX-License-Identifier: Apache-2.0
#include "host/Replay.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

namespace host {

double secondsOf(platform::Instant time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

std::function<void(platform::Duration)> cutsOn(Screen& screen) {
  return [&screen, told = false](platform::Duration silence) mutable {
    if (std::exchange(told, true)) return;
    const auto hours = std::chrono::duration_cast<std::chrono::hours>(silence).count();
    screen.complain("the recording is silent for " + std::to_string(hours) +
                    " hours, or its clock jumps; played as one hour");
  };
}

void play(platform::ReplayLocationService& replay, const SourceOptions& options) {
  std::optional<platform::Duration> limit;
  if (options.limit) {
    limit = std::chrono::duration_cast<platform::Duration>(
        std::chrono::duration<double>(*options.limit));
  }
  replay.run(limit);
}

}  // namespace host
