// SPDX-License-Identifier: Apache-2.0
#include "testing/Journal.h"

#include <utility>
#include <vector>

#include "platform/Mutex.h"

namespace brivane::testing {

struct Journal::State {
  platform::Mutex mutex;
  std::vector<std::string> lines BRIVANE_GUARDED_BY(mutex);
};

Journal::Journal() : state_(std::make_unique<State>()) {}

Journal::~Journal() = default;

void Journal::write(std::string_view line) {
  const platform::MutexLock lock(state_->mutex);
  state_->lines.emplace_back(line);
}

std::string Journal::take(std::string_view separator) {
  const platform::MutexLock lock(state_->mutex);
  std::string all;
  for (const std::string& line : std::exchange(state_->lines, {})) {
    if (!all.empty()) all += separator;
    all += line;
  }
  return all;
}

}  // namespace brivane::testing
