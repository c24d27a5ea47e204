// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BrivaneSDK/BVManagerDelegate.h"
#include "platform/Export.h"
#include "testing/Journal.h"

namespace brivane::testing {

/// A host that writes down what its manager tells it, and keeps what it was handed. Any thread.
///
/// Lines read "ready", "error 1 No location services enabled", "match door", with the match's
/// identifier at the service, "no match" for a null record, "nearest 2" and "nearest none".
class BRIVANE_EXPORT RecordingManagerDelegate final : public BVManagerDelegate {
 public:
  /// Each line goes into `journal`, unless that is null, behind `prefix`.
  explicit RecordingManagerDelegate(std::shared_ptr<Journal> journal = nullptr,
                                    std::string prefix = "");
  ~RecordingManagerDelegate() override;
  RecordingManagerDelegate(const RecordingManagerDelegate&) = delete;
  RecordingManagerDelegate& operator=(const RecordingManagerDelegate&) = delete;

  /// Has `react` called at the end of each call, with its line but without the prefix: what a host
  /// does then. Set before the delegate is given to a manager.
  void onCall(std::function<void(const std::string& line)> react);

  /// Whether `didIsReady` came.
  bool isReady() const;
  /// All that was matched, in order; null where a null record was handed on.
  std::vector<std::shared_ptr<const BVAPIResolve>> matches() const;
  /// Codes of the errors, in order.
  std::vector<std::int32_t> errors() const;
  /// The last list of places; absent when none came, null when it was none.
  std::optional<std::shared_ptr<const BVWaybeaconDistance::List>> places() const;

  void didIsReady() override;
  void didErrorFound(const std::shared_ptr<const BVError>& error) override;
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override;
  void didNearestWaybeacons(
      const std::shared_ptr<const BVWaybeaconDistance::List>& places) override;

 private:
  struct State;

  void tell(const std::string& line);

  const std::unique_ptr<State> state_;
};

}  // namespace brivane::testing
