// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "BrivaneSDK/BVAPIResolve.h"
#include "platform/Mutex.h"

namespace brivane::internal {

/// What the service answered for each beacon, by the beacon's key, and how often it was asked. Any
/// thread: a lock is held for each single access.
class ResolutionCache {
 public:
  /// The last record stored under `key`; null when there is none.
  std::shared_ptr<const BVAPIResolve> find(const std::string& key) const;

  void store(const std::string& key, std::shared_ptr<const BVAPIResolve> record);

  /// Counts one more request for `key` and says whether it may be sent: five may, between two
  /// emptyings.
  bool countTry(const std::string& key);

  /// Forgets every record and every count.
  void clear();

 private:
  mutable platform::Mutex mutex_;
  std::unordered_map<std::string, std::shared_ptr<const BVAPIResolve>> records_
      BRIVANE_GUARDED_BY(mutex_);
  std::unordered_map<std::string, std::int64_t> tries_ BRIVANE_GUARDED_BY(mutex_);
};

}  // namespace brivane::internal
