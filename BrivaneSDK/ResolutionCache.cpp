// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/ResolutionCache.h"

#include <utility>

namespace brivane::internal {
namespace {

constexpr std::int64_t kTryLimit = 5;

}  // namespace

std::shared_ptr<const BVAPIResolve> ResolutionCache::find(const std::string& key) const {
  const platform::MutexLock lock(mutex_);
  const auto found = records_.find(key);
  return found == records_.end() ? nullptr : found->second;
}

void ResolutionCache::store(const std::string& key, std::shared_ptr<const BVAPIResolve> record) {
  const platform::MutexLock lock(mutex_);
  records_[key] = std::move(record);
}

bool ResolutionCache::countTry(const std::string& key) {
  const platform::MutexLock lock(mutex_);
  std::int64_t& count = tries_[key];
  if (count >= kTryLimit) return false;
  ++count;
  return true;
}

void ResolutionCache::clear() {
  const platform::MutexLock lock(mutex_);
  records_.clear();
  tries_.clear();
}

}  // namespace brivane::internal
