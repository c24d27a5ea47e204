// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/Ledger.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "BrivaneSDK/BVAPIResolve.h"

namespace soak {
namespace {

constexpr int kMostRequests = 5;
/// Within so many seconds a beacon that has come into range is told, though four requests for it fail.
constexpr int kSecondsToBeTold = 8;
/// A report tells what was heard in the second before it.
constexpr int kSecondsBetweenTellings = 2;
/// For so long a beacon that fell silent may still be told.
constexpr int kSecondsOfSilence = 10;

/// The number behind `label`; -1 when there is none.

int numberBehind(std::string_view label, std::string_view text) {
  const std::size_t found = text.find(label);
  int number = -1;
  if (found != std::string_view::npos) {
    std::from_chars(text.data() + found + label.size(), text.data() + text.size(), number);
  }
  return number;
}

}  // namespace

void Ledger::execute(platform::HTTPRequest request, Completion completion) {
  const int major = numberBehind("major=", request.body);
  {
    const std::lock_guard lock(mutex_);
    ++requests_;
    if (major >= 0) {
      const int beacon = Street::beacon(major, numberBehind("minor=", request.body));
      if (beacon >= Street::kBeacons) {
        fail("asked for and not in the street", beacon);
      } else if (++entries_.at(static_cast<std::size_t>(beacon)).asked > kMostRequests) {
        fail("asked for too often", beacon);
      }
    }
  }
  inner_->execute(std::move(request), std::move(completion));
}

void Ledger::judge(int second) {
  const std::lock_guard lock(mutex_);
  second_ = second;
  if (second - start_ < kSecondsToBeTold) return;
  for (int beacon = 0; beacon < Street::kBeacons; ++beacon) {
    if (!Street::isInRange(beacon, second) || !Street::isInRange(beacon, second - kSecondsToBeTold)) continue;
    const int told = entries_.at(static_cast<std::size_t>(beacon)).told;
    if (told < second - kSecondsBetweenTellings) fail("in range and not told", beacon);
  }
}

void Ledger::restart() {
  const std::lock_guard lock(mutex_);
  for (Entry& entry : entries_) entry = {};
  start_ = second_;
}

void Ledger::didErrorFound(const std::shared_ptr<const BVError>& error) {
  const std::lock_guard lock(mutex_);
  faults_.push_back("error " + std::to_string(error->errorCode()));
}

void Ledger::didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) {
  const std::lock_guard lock(mutex_);
  ++matches_;
  const int beacon = numberBehind("", match->uuid().value_or(""));
  if (!Street::isInRange(beacon, second_) && !Street::isInRange(beacon, second_ - kSecondsOfSilence)) {
    return fail("told and not there", beacon);
  }
  Entry& entry = entries_.at(static_cast<std::size_t>(beacon));
  const auto known = entry.record.lock();
  if (known && known != match) fail("told with another object", beacon);
  entry.record = match;
  entry.told = second_;
}

void Ledger::fail(const std::string& fault, int beacon) {
  faults_.push_back("second " + std::to_string(second_) + ": beacon " + std::to_string(beacon) + " " + fault);
}

}  // namespace soak
