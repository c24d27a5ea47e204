// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/ReplayLocationService.h"

#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include "platform/replay/CaptureError.h"

namespace platform {
namespace {

using namespace std::chrono_literals;

/// A device without a clock of its own starts in 1970 and jumps to the present: to play that would
/// take for ever.
constexpr Duration kLongestSilence = 1h;

std::deque<TrackPoint> readTrack(const std::optional<std::string>& path) {
  if (!path) return {};
  const auto points = readGpxTrack(*path);
  return {points.begin(), points.end()};
}

}  // namespace

ReplayLocationService::ReplayLocationService(Options options)
    : options_(std::move(options)),
      core_(options_.location),
      clock_(options_.speed, options_.waitUntilIdle),
      capture_(options_.capture),
      track_(readTrack(options_.track)) {
  readAhead();
  if (record_) beginning_ = record_->time;
  if (!track_.empty() && (!record_ || track_.front().time < beginning_)) {
    beginning_ = track_.front().time;
  }
}

void ReplayLocationService::run(std::optional<Duration> limit) {
  const Instant end = limit ? Instant(*limit) : Instant::max();
  core_.advance(now());  // what was asked for before the recording begins
  while (playNext(end)) {
    if (options_.onProgress) options_.onProgress(capture_.fractionRead());
  }
  // The last readings are in a report by then.
  advanceTo(std::min(end, now() + 1s));
  if (fault_) std::rethrow_exception(fault_);
}

void ReplayLocationService::readAhead() {
  try {
    record_ = capture_.next();
  } catch (const CaptureError&) {
    record_.reset();
    fault_ = std::current_exception();
  }
}

/// Plays what comes next, a position before advertisements of the same time; false when nothing
/// comes before `limit`.
bool ReplayLocationService::playNext(Instant limit) {
  if (fault_) return false;  // nobody knows when it was met: later positions may be much later
  const bool isPosition = !track_.empty() && (!record_ || track_.front().time <= record_->time);
  if (!isPosition && !record_) return false;
  Instant time((isPosition ? track_.front().time : record_->time) - beginning_);
  const Duration silence = time - now();
  time = std::min(time, now() + kLongestSilence);
  if (time > limit) return false;
  if (silence > kLongestSilence) {
    beginning_ += silence - kLongestSilence;
    if (options_.onCut) options_.onCut(silence);
  }
  if (!advanceTo(time)) return false;
  if (isPosition) {
    core_.locate(track_.front().location, time);
    track_.pop_front();
    return true;
  }
  for (const Advertisement& advertisement : record_->advertisements) {
    core_.hear(advertisement, time);
  }
  readAhead();
  return true;
}

bool ReplayLocationService::advanceTo(Instant time) {
  core_.advance(now());  // begins what was started meanwhile
  for (auto due = core_.nextDeadline(); due && *due <= time; due = core_.nextDeadline()) {
    if (!clock_.moveTo(*due)) return false;
    core_.advance(*due);
  }
  return clock_.moveTo(time);
}

}  // namespace platform
