#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "BrivaneSDK/BVManagerDelegate.h"
#include "platform/HTTPClient.h"
#include "platform/Log.h"
#include "tests/support/Street.h"

namespace soak {

/// Watches the library from all sides and keeps account: what was heard (from the log), asked and
/// answered (from the requests), and told to the host. Finds what is asked too often and what is
/// told too seldom.
class Ledger final : public platform::HTTPClient, public platform::Log, public BVManagerDelegate {
 public:
  /// Passes requests on to `inner`.
  explicit Ledger(std::shared_ptr<platform::HTTPClient> inner) : inner_(std::move(inner)) {}

  bool isReady() const { return isReady_; }
  int reports() const { return reports_; }
  std::int64_t matches() const { return matches_; }
  std::int64_t requests() const { return requests_; }
  std::int64_t unanswered() const { return unanswered_; }

  /// What went wrong, as far as the last report that is closed.
  const std::vector<std::string>& faults() const { return faults_; }
  /// Judges the report that came last.
  void closeReport();
  /// From now on all is asked anew.
  void restart();

  void execute(platform::HTTPRequest request, Completion completion) override;

 private:
  struct Entry {
    int asked = 0;  // since the last start
    bool answered = false;
    bool heard = false;  // in this report
    bool matched = false;
    std::weak_ptr<const BVAPIResolve> record;
  };

  void write(std::string_view line) override;
  void didIsReady() override { isReady_ = true; }
  void didErrorFound(const std::shared_ptr<const BVError>& error) override;
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override;
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override {}

  void fail(const std::string& fault, std::size_t beacon);

  const std::shared_ptr<platform::HTTPClient> inner_;
  // Replies come on another thread, while the walk stands still.
  std::mutex mutex_;
  std::array<Entry, Street::kBeacons> entries_;
  std::vector<std::string> faults_;
  bool isReady_ = false;
  int reports_ = 0;
  std::int64_t matches_ = 0, requests_ = 0, unanswered_ = 0;
};

}  // namespace soak
