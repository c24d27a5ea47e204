// SPDX-License-Identifier: Apache-2.0
#include "testing/MemoryPreferences.h"

#include <functional>
#include <map>
#include <utility>

#include "platform/Mutex.h"

namespace brivane::testing {

struct MemoryPreferences::State {
  platform::Mutex mutex;
  std::map<std::string, platform::JSONValue, std::less<>> values BRIVANE_GUARDED_BY(mutex);
  bool writable BRIVANE_GUARDED_BY(mutex) = true;
  int synchronizations BRIVANE_GUARDED_BY(mutex) = 0;
};

MemoryPreferences::MemoryPreferences() : state_(std::make_unique<State>()) {}

MemoryPreferences::~MemoryPreferences() = default;

std::optional<platform::JSONValue> MemoryPreferences::objectForKey(std::string_view key) const {
  const platform::MutexLock lock(state_->mutex);
  const auto found = state_->values.find(key);
  return found == state_->values.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> MemoryPreferences::stringForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  if (!value || value->kind() != platform::JSONValue::Kind::kText) return std::nullopt;
  return value->text();
}

void MemoryPreferences::setValue_forKey(std::string_view value, std::string_view key) {
  setObject_forKey(std::string(value), key);
}

bool MemoryPreferences::synchronize() {
  const platform::MutexLock lock(state_->mutex);
  ++state_->synchronizations;
  return state_->writable;
}

void MemoryPreferences::setObject_forKey(platform::JSONValue value, std::string_view key) {
  const platform::MutexLock lock(state_->mutex);
  state_->values.insert_or_assign(std::string(key), std::move(value));
}

void MemoryPreferences::setWritable(bool writable) {
  const platform::MutexLock lock(state_->mutex);
  state_->writable = writable;
}

int MemoryPreferences::synchronizations() const {
  const platform::MutexLock lock(state_->mutex);
  return state_->synchronizations;
}

}  // namespace brivane::testing
