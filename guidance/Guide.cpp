// SPDX-License-Identifier: Apache-2.0
#include "guidance/Guide.h"

#include <cctype>
#include <utility>

#include "guidance/Text.h"

namespace guidance {
namespace {

/// One lost request is no lost network.
constexpr int kFailuresOfNetwork = 2;

std::optional<TroubleKind> troubleOf(Session session) {
  if (session == Session::kNoCredentials) return TroubleKind::kNoCredentials;
  if (session == Session::kRefused) return TroubleKind::kRefused;
  if (session == Session::kNotRenewed) return TroubleKind::kNotRenewed;
  return std::nullopt;
}

TroubleKind troubleOf(platform::Radio::FaultKind kind) {
  using Kind = platform::Radio::FaultKind;
  if (kind == Kind::kNoAdapter) return TroubleKind::kNoAdapter;
  if (kind == Kind::kSwitchedOff) return TroubleKind::kBluetoothOff;
  return kind == Kind::kBlocked ? TroubleKind::kBluetoothBlocked : TroubleKind::kRadio;
}

}  // namespace

Guide::Guide(Speech& speech, Nearby::Ask askNearby, std::function<void()> onChange)
    : speech_(speech), onChange_(std::move(onChange)), nearby_(std::move(askNearby)) {}

void Guide::setManner(const Manner& manner) {
  if (manner_.speaksByItself && !manner.speaksByItself) speech_.stop();
  manner_ = manner;
  announcements_.detail = manner.detail;
  announcements_.language = manner.language;
}

void Guide::hush(bool hushed) {
  announcements_.hush(hushed);
  if (!std::exchange(hushed_, hushed) && hushed) speech_.stop();
}

void Guide::sayAgain() {
  if (last_) speech_.say(*last_);
}

void Guide::sayMore() {
  const auto more = announcements_.more(places_);
  if (more && !manner_.screenReader) speech_.say(*more);
}

void Guide::speechChanged(const std::string& fault, Instant now) {
  tell(troubles_.set(TroubleKind::kNoSpeech, !fault.empty(), now, fault));
}

void Guide::began() {
  places_.clear();
  session_ = Session::kConnecting;
  onChange_();
}

void Guide::named(const std::string& place, Time keptSince) { keptSince_[place] = keptSince; }

void Guide::reported(std::vector<Sighting> places, Instant now) {
  for (Sighting& sighting : places) sighting.keptSince = keptSince_[*sighting.place->uuid()];
  const bool changed = places_.report(places, now);
  if (const auto news = announcements_.report(places_, now)) say(*news);
  if (changed) onChange_();
}

void Guide::moved(const platform::CLLocation& position, Instant now) {
  tell(troubles_.set(TroubleKind::kNoPositions, false, now));
  nearby_.moved(position);
}

void Guide::found(const std::shared_ptr<const BVWaybeaconDistance::List>& places) {
  if (nearby_.found(places)) onChange_();
}

void Guide::sessionChanged(Session session, Instant now) {
  session_ = session;
  nearby_.transferred(false);  // what an earlier session was asked remains without an answer
  if (session != Session::kConnecting) {
    tell(troubles_.setOneOf(
        {TroubleKind::kNoCredentials, TroubleKind::kRefused, TroubleKind::kNotRenewed},
        troubleOf(session), now));
  }
  onChange_();
}

void Guide::transferred(const platform::TransferOutcome& outcome, Instant now) {
  if (outcome.endpoint.ends_with("nearest/") && nearby_.transferred(isSuccess(outcome))) {
    onChange_();
  }
  const bool isAnswered =
      outcome.status && outcome.source == platform::TransferOutcome::Source::kService;
  failures_ = isAnswered ? 0 : failures_ + 1;
  if (!isAnswered && failures_ < kFailuresOfNetwork) return;
  std::optional<TroubleKind> trouble;
  if (!isAnswered) trouble = TroubleKind::kNoNetwork;
  if (isAnswered && *outcome.status >= kServiceFault) trouble = TroubleKind::kService;
  tell(troubles_.setOneOf({TroubleKind::kNoNetwork, TroubleKind::kService}, trouble, now));
}

void Guide::radioChanged(const platform::Radio::Status& status, Instant now) {
  if (!status.listening && status.fault.empty()) return;  // on the way
  std::optional<TroubleKind> trouble;
  if (!status.listening) {
    trouble = troubleOf(status.kind);
    places_.clear();
  }
  std::string fault = status.fault;
  if (!fault.empty()) fault.front() = static_cast<char>(std::toupper(fault.front()));
  tell(troubles_.setOneOf({TroubleKind::kNoAdapter, TroubleKind::kBluetoothOff,
                           TroubleKind::kBluetoothBlocked, TroubleKind::kRadio},
                          trouble, now, fault));
}

void Guide::permissionChanged(const platform::Permission& permission, const std::string& reason,
                              Instant now) {
  const bool isRefused = permission.status == platform::kCLAuthorizationStatusDenied ||
                         permission.status == platform::kCLAuthorizationStatusRestricted;
  tell(troubles_.set(TroubleKind::kNoPermission, isRefused, now, reason));
}

void Guide::noPositions(const std::string& reason, Instant now) {
  tell(troubles_.set(TroubleKind::kNoPositions, true, now, reason));
}

void Guide::ended(const std::string& fault) {
  places_.clear();
  notice_ = fault.empty() ? _("The recording is over.") : fault;
  onChange_();
}

void Guide::tell(const std::optional<Troubles::News>& news) {
  if (news) {
    notice_ = news->text;
    say({.text = news->text, .language = textLanguage(), .urgent = news->urgent});
  }
  onChange_();
}

void Guide::say(const Utterance& utterance) {
  last_ = utterance;
  if (manner_.speaksByItself && !hushed_) speech_.say(utterance);
}

}  // namespace guidance
