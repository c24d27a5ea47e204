#include "host/Replay.h"

#include <chrono>
#include <optional>

namespace host {

double secondsOf(platform::Instant time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
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
