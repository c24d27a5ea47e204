// SPDX-License-Identifier: Apache-2.0
#include "OwnLocation.h"

#include <platform/replay/BtsnoopReader.h>

#include <chrono>
#include <optional>
#include <thread>

using platform::Instant;

std::shared_ptr<platform::LocationCore> ownLocation() {
  // The user has said yes long ago.
  return std::make_shared<platform::LocationCore>(
      platform::LocationCore::Options{.permission = platform::alwaysPermitted});
}

void listen(platform::LocationCore& location, const std::string& capture, double speed) {
  platform::BtsnoopReader radio(capture);
  std::optional<platform::UTCTime> beginning;
  const auto began = std::chrono::steady_clock::now();
  while (const auto record = radio.next()) {
    if (!beginning) beginning = record->time;
    const auto sinceBeginning = record->time - *beginning;
    std::this_thread::sleep_until(
        began + std::chrono::duration_cast<std::chrono::nanoseconds>(sinceBeginning / speed));
    const Instant now(sinceBeginning);
    location.advance(now);  // what is due by then
    for (const auto& advertisement : record->advertisements) location.hear(advertisement, now);
  }
}
