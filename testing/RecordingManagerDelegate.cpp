// SPDX-License-Identifier: Apache-2.0
#include "testing/RecordingManagerDelegate.h"

#include <utility>

#include "platform/Mutex.h"

namespace brivane::testing {

struct RecordingManagerDelegate::State {
  State(std::shared_ptr<Journal> someJournal, std::string somePrefix)
      : journal(std::move(someJournal)), prefix(std::move(somePrefix)) {}

  const std::shared_ptr<Journal> journal;
  const std::string prefix;
  std::function<void(const std::string& line)> react;
  platform::Mutex mutex;
  bool isReady BRIVANE_GUARDED_BY(mutex) = false;
  std::vector<std::shared_ptr<const BVAPIResolve>> matches BRIVANE_GUARDED_BY(mutex);
  std::vector<std::int32_t> errors BRIVANE_GUARDED_BY(mutex);
  std::optional<std::shared_ptr<const BVWaybeaconDistance::List>> places BRIVANE_GUARDED_BY(mutex);
};

RecordingManagerDelegate::RecordingManagerDelegate(std::shared_ptr<Journal> journal,
                                                   std::string prefix)
    : state_(std::make_unique<State>(std::move(journal), std::move(prefix))) {}

RecordingManagerDelegate::~RecordingManagerDelegate() = default;

void RecordingManagerDelegate::onCall(std::function<void(const std::string& line)> react) {
  state_->react = std::move(react);
}

bool RecordingManagerDelegate::isReady() const {
  const platform::MutexLock lock(state_->mutex);
  return state_->isReady;
}

std::vector<std::shared_ptr<const BVAPIResolve>> RecordingManagerDelegate::matches() const {
  const platform::MutexLock lock(state_->mutex);
  return state_->matches;
}

std::vector<std::int32_t> RecordingManagerDelegate::errors() const {
  const platform::MutexLock lock(state_->mutex);
  return state_->errors;
}

std::optional<std::shared_ptr<const BVWaybeaconDistance::List>> RecordingManagerDelegate::places()
    const {
  const platform::MutexLock lock(state_->mutex);
  return state_->places;
}

void RecordingManagerDelegate::didIsReady() {
  {
    const platform::MutexLock lock(state_->mutex);
    state_->isReady = true;
  }
  tell("ready");
}

void RecordingManagerDelegate::didErrorFound(const std::shared_ptr<const BVError>& error) {
  {
    const platform::MutexLock lock(state_->mutex);
    state_->errors.push_back(error->errorCode());
  }
  tell("error " + std::to_string(error->errorCode()) + " " + error->errorString().value_or(""));
}

void RecordingManagerDelegate::didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) {
  {
    const platform::MutexLock lock(state_->mutex);
    state_->matches.push_back(match);
  }
  tell(match ? "match " + match->uuid().value_or("") : "no match");
}

void RecordingManagerDelegate::didNearestWaybeacons(
    const std::shared_ptr<const BVWaybeaconDistance::List>& places) {
  {
    const platform::MutexLock lock(state_->mutex);
    state_->places = places;
  }
  tell(places ? "nearest " + std::to_string(places->size()) : "nearest none");
}

void RecordingManagerDelegate::tell(const std::string& line) {
  if (state_->journal) state_->journal->write(state_->prefix + line);
  if (state_->react) state_->react(line);
}

}  // namespace brivane::testing
