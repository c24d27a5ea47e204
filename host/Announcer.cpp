// SPDX-License-Identifier: Apache-2.0
#include "host/Announcer.h"

#include <cstdint>
#include <cstdio>
#include <utility>

#include "guidance/AgeText.h"
#include "guidance/Sentences.h"
#include "guidance/Text.h"
#include "host/ClockText.h"
#include "host/RecordJSON.h"

namespace host {
namespace {

using guidance::_;
using platform::JSONValue;
using News = guidance::NearestPlace::News;

/// Matches of one ranging report come together, reports a second apart.
constexpr double kSecondsBetweenReports = 0.5;

const char* nameOf(News news) {
  switch (news) {
    case News::kFirstSight:
      return _("New");
    case News::kNearest:
      return _("Nearest");
    case News::kNothing:
      break;
  }
  return _("Here");
}

}  // namespace

Announcer::Announcer(Screen& screen, Options options)
    : screen_(screen), options_(std::move(options)) {}

bool Announcer::isReady() const {
  const std::lock_guard lock(mutex_);
  return ready_;
}

void Announcer::expectReady() {
  const std::lock_guard lock(mutex_);
  ready_ = false;
}

std::string Announcer::summary() const {
  const std::lock_guard lock(mutex_);
  const auto places = nearest_.matched().size();
  return guidance::filled(
      guidance::P_("%1 place in %2 seconds.", "%1 places in %2 seconds.", places),
      {std::to_string(places), std::to_string(static_cast<long>(options_.now()))});
}

void Announcer::didIsReady() {
  if (options_.json) printEvent("ready", {});
  const std::lock_guard lock(mutex_);
  ready_ = true;
}

void Announcer::didErrorFound(const std::shared_ptr<const BVError>& error) {
  const std::string message = error->errorString().value_or("");
  if (options_.json) {
    printEvent("error", {{"code", error->errorCode()}, {"message", message}});
  } else {
    screen_.print(clockText(options_.now()) + "  " + _("Error") + ": " + message);
  }
}

void Announcer::didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) {
  if (!match) {
    if (options_.json) printEvent("match", {{"record", JSONValue()}});
    return;
  }
  News news = News::kNothing;
  std::optional<Time> kept;
  if (match->uuid()) {
    const std::lock_guard lock(mutex_);
    kept = keptSince(*match->uuid());
    news = nearest_.match(*match->uuid(), beginsReport());
  }
  if (options_.json) {
    auto members = resolveJSON(*match);
    if (kept) members.emplace_back("keptSince", std::int64_t{Time::clock::to_time_t(*kept)});
    printEvent("match", std::move(members));
  }
  if (!match->uuid()) return;  // what the library makes of a refusal
  if (options_.speech != nullptr && news == News::kNearest) {
    options_.speech->say({.text = guidance::sentencesOf(*match, guidance::Detail::kAll),
                          .language = options_.language});
  }
  if (options_.json) return;
  if (news != News::kNothing || options_.all) printMatch(nameOf(news), *match, kept);
}

void Announcer::noteAnswer(const platform::TransferOutcome& outcome) {
  const std::lock_guard lock(mutex_);
  answerKeptSince_ = outcome.keptSince;
}

std::optional<Announcer::Time> Announcer::keptSince(const std::string& place) {
  // This thread brings what the library knows already, others bring answers.
  if (std::this_thread::get_id() != locationThread_) {
    if (answerKeptSince_) {
      keptSince_[place] = *answerKeptSince_;
    } else {
      keptSince_.erase(place);
    }
  }
  const auto found = keptSince_.find(place);
  return found == keptSince_.end() ? std::nullopt : std::optional(found->second);
}

void Announcer::didNearestWaybeacons(
    const std::shared_ptr<const BVWaybeaconDistance::List>& places) {
  const std::lock_guard lock(mutex_);
  places_ = places;
}

bool Announcer::printPlaces() {
  const std::lock_guard lock(mutex_);
  if (!places_) return false;
  const auto& places = *places_;
  if (options_.json) {
    JSONValue::List list;
    if (places) {
      for (const auto& place : *places) list.emplace_back(placeJSON(*place));
    }
    printEvent("nearest", {{"places", places ? JSONValue(std::move(list)) : JSONValue()}});
  } else if (!places) {
    screen_.print(_("No places there."));
  } else {
    for (const auto& place : *places) printPlace(*place);
  }
  return true;
}

void Announcer::printEvent(const char* event, JSONValue::Object members) {
  screen_.print(eventLine(options_.now(), event, std::move(members)));
}

void Announcer::printMatch(const char* news, const BVAPIResolve& match,
                           std::optional<Time> keptSince) {
  std::string line = clockText(options_.now()) + "  " + news + ": " +
                     guidance::sentencesOf(match, guidance::Detail::kAll);
  // A match by position has no strength.
  if (match.rssi() != 0) line += " (" + std::to_string(match.rssi()) + " dBm)";
  if (keptSince) line += " (" + guidance::ageText(*keptSince, Time::clock::now()) + ")";
  screen_.print(line);
}

void Announcer::printPlace(const BVWaybeaconDistance& place) {
  const BVLocal& local = *place.local();
  char distance[32];
  std::snprintf(distance, sizeof distance, "%6.0f m  ", place.distance());
  std::string line = distance + local.name().value_or(_("a place without a name"));
  guidance::appendSentence(line, local.category());
  guidance::appendSentence(line, local.address());
  guidance::appendSentence(line, local.phone());
  screen_.print(line);
}

bool Announcer::beginsReport() {
  // Other threads bring single replies, which say nothing about what is nearest.
  if (std::this_thread::get_id() != locationThread_) return false;
  const double now = options_.now();
  return now - std::exchange(lastReport_, now) > kSecondsBetweenReports;
}

}  // namespace host
