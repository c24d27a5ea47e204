// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/DiscoverySchedule.h"

#include <algorithm>
#include <utility>

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kBusyPause = 500ms;
/// After as many attempts, ten seconds, BlueZ would have finished what it was busy with.
constexpr int kMostBusy = 20;
/// Each has been waited for some seconds.
constexpr int kMostLost = 3;
constexpr Duration kFailurePause = 500ms;
constexpr Duration kRefusalPause = 30s;
constexpr Duration kDoubtPause = 2s;
/// A discovery that is silent for so long may be dead. Where there is nothing to hear it is not, so
/// each renewal that brings nothing doubles the time until the next.
constexpr Duration kSilence = 10s;
constexpr int kMostDoublings = 5;

Duration doubled(Duration time, int times) { return time * (1 << std::min(times, kMostDoublings)); }

}  // namespace

void DiscoverySchedule::setUsable(bool usable, Instant now) {
  const bool renewing = underWay_ == Call::kRenewConnection;
  // An adapter that comes back begins anew, but a new connection goes on with the old one's
  // trouble.
  if (usable_ && !usable && !renewing) busy_ = lost_ = 0;
  usable_ = usable;
  listening_ = false;
  underWay_.reset();
  planned_.reset();
  if (!usable) return;
  planned_ = Call::kSetFilter;
  due_ = now;
}

void DiscoverySchedule::finish(Outcome outcome, Instant now) {
  const auto call = std::exchange(underWay_, std::nullopt);
  if (!call) return;
  const bool done = outcome == Outcome::kDone || call == Call::kStop;
  if (!done) {
    retry(outcome, now);
  } else if (call == Call::kStart) {
    busy_ = lost_ = failed_ = 0;
    listen(now);
  } else {
    planned_ = call == Call::kStop ? Call::kSetFilter : Call::kStart;
    due_ = now;
  }
}

void DiscoverySchedule::hear(Instant now) {
  renewals_ = 0;
  if (!listening_) return;
  planned_ = Call::kStop;
  due_ = now + kSilence;
}

void DiscoverySchedule::setDiscovering(bool discovering, Instant now) {
  discovering_ = discovering;
  if (!listening_) return;
  const Instant silence = now + doubled(kSilence, renewals_);
  due_ = discovering ? silence : std::min(due_, now + doubled(kDoubtPause, renewals_));
}

std::optional<DiscoverySchedule::Call> DiscoverySchedule::next(Instant now) {
  if (!planned_ || underWay_ || now < due_) return std::nullopt;
  if (std::exchange(listening_, false)) ++renewals_;
  underWay_ = std::exchange(planned_, std::nullopt);
  return underWay_;
}

std::optional<Instant> DiscoverySchedule::deadline() const {
  return planned_ && !underWay_ ? std::optional(due_) : std::nullopt;
}

bool DiscoverySchedule::isStuck() const { return busy_ >= kMostBusy || lost_ >= kMostLost; }

void DiscoverySchedule::listen(Instant now) {
  listening_ = true;
  planned_ = renewals_ == 0 ? Call::kStop : Call::kRenewConnection;
  due_ = now + doubled(kSilence, renewals_);
  setDiscovering(discovering_, now);
}

void DiscoverySchedule::retry(Outcome outcome, Instant now) {
  planned_ = Call::kSetFilter;
  if (outcome == Outcome::kBusy) {
    due_ = now + kBusyPause;
    if (++busy_ % kMostBusy == 0) planned_ = Call::kRenewConnection;
  } else if (outcome == Outcome::kLost) {
    ++lost_;
    planned_ = Call::kRenewConnection;
    due_ = now + kBusyPause;
  } else {
    due_ = now + (outcome == Outcome::kRefused ? kRefusalPause : doubled(kFailurePause, failed_++));
  }
}

}  // namespace platform
