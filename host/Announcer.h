// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "BrivaneSDK/BVManagerDelegate.h"
#include "guidance/NearestPlace.h"
#include "guidance/Speech.h"
#include "host/Screen.h"
#include "platform/JSONValue.h"
#include "platform/TransferOutcome.h"

namespace host {

/// Says on the screen what the manager reports, for a person or as JSON. Created on the thread that
/// creates the manager.
class Announcer final : public BVManagerDelegate {
 public:
  struct Options {
    /// One JSON object a line for every call; else lines for a person.
    bool json = false;
    /// Every match, not only what is new to the person.
    bool all = false;
    /// The time of detection, seconds.
    std::function<double()> now;
    /// Says each place that becomes the nearest; null for silence.
    guidance::Speech* speech = nullptr;
    /// Of the network's texts; empty when it is not known.
    std::string language = {};
  };

  Announcer(Screen& screen, Options options);

  /// Whether `didIsReady` has come since `expectReady`, or at all.
  bool isReady() const;
  void expectReady();
  /// Prints the answer about nearest places; false when none has come.
  bool printPlaces();
  /// Where the answer comes from that is called back next on this thread.
  void noteAnswer(const platform::TransferOutcome& outcome);
  /// How many different places were matched, and in which time; one line for a person.
  std::string summary() const;

 private:
  void didIsReady() override;
  void didErrorFound(const std::shared_ptr<const BVError>& error) override;
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override;
  void didNearestWaybeacons(
      const std::shared_ptr<const BVWaybeaconDistance::List>& places) override;

  using Time = std::chrono::system_clock::time_point;

  /// When the service gave what is known of this match, where that was kept. Under the lock.
  std::optional<Time> keptSince(const std::string& place);
  void printEvent(const char* event, platform::JSONValue::Object members);
  void printMatch(const char* news, const BVAPIResolve& match, std::optional<Time> keptSince);
  void printPlace(const BVWaybeaconDistance& place);
  /// Whether this match is the first of a ranging report: of its nearest beacon. Under the lock.
  bool beginsReport();

  Screen& screen_;
  const Options options_;
  const std::thread::id locationThread_ = std::this_thread::get_id();
  mutable std::mutex mutex_;
  bool ready_ = false;
  /// The answer about nearest places, which may be null.
  std::optional<std::shared_ptr<const BVWaybeaconDistance::List>> places_;
  /// When the service gave what is known of a place, by its identifier, where that was kept.
  std::map<std::string, Time> keptSince_;
  /// The same of the latest answer.
  std::optional<Time> answerKeptSince_;
  guidance::NearestPlace nearest_;
  double lastReport_ = -std::numeric_limits<double>::infinity();
};

}  // namespace host
