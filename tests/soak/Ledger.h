// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "BrivaneSDK/BVManagerDelegate.h"
#include "platform/HTTPClient.h"
#include "tests/soak/Street.h"

namespace soak {

/// Keeps account of what is asked of the service and told to the host, and compares it with the street: finds what is
/// asked for too often, what is told too seldom, and what is told that is not there.
class Ledger final : public platform::HTTPClient, public BVManagerDelegate {
 public:
  /// Passes requests on to `inner`.
  explicit Ledger(std::shared_ptr<platform::HTTPClient> inner) : inner_(std::move(inner)) {}

  bool isReady() const { return isReady_; }
  std::int64_t matches() const { return matches_; }
  std::int64_t requests() const { return requests_; }

  /// What went wrong, as far as the last second that was judged.
  const std::vector<std::string>& faults() const { return faults_; }
  /// Judges what was told up to this second of the walk, which begins.
  void judge(int second);
  /// From now on all is asked anew.
  void restart();

  void execute(platform::HTTPRequest request, Completion completion) override;

 private:
  struct Entry {
    int asked = 0;  // since the last start
    int told = -1;  // the last second
    std::weak_ptr<const BVAPIResolve> record;
  };

  void didIsReady() override { isReady_ = true; }
  void didErrorFound(const std::shared_ptr<const BVError>& error) override;
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override;
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override {}

  void fail(const std::string& fault, int beacon);

  const std::shared_ptr<platform::HTTPClient> inner_;
  // Replies come on another thread, while the walk stands still.
  std::mutex mutex_;
  std::array<Entry, Street::kBeacons> entries_;
  std::vector<std::string> faults_;
  bool isReady_ = false;
  int second_ = 0;
  int start_ = 0;
  std::int64_t matches_ = 0, requests_ = 0;
};

}  // namespace soak
