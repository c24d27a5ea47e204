#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "BrivaneSDK/BVManagerDelegate.h"

/// A host that does one thing with every call that it gets.
class HostDelegate final : public BVManagerDelegate {
 public:
  enum Call { kReady, kError, kMatch, kNearest };

  explicit HostDelegate(std::function<void(Call)> onCall) : onCall_(std::move(onCall)) {}

 private:
  void didIsReady() override { onCall_(kReady); }
  void didErrorFound(const std::shared_ptr<const BVError>& /*error*/) override { onCall_(kError); }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override { onCall_(kMatch); }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override {
    onCall_(kNearest);
  }

  const std::function<void(Call)> onCall_;
};
