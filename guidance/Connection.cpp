// SPDX-License-Identifier: Apache-2.0
#include "guidance/Connection.h"

#include <algorithm>
#include <chrono>

namespace guidance {
namespace {

using namespace std::chrono_literals;

constexpr int kUnauthorized = 401;
constexpr Duration kFirstPause = 5s;
constexpr Duration kLongestPause = 2min;
/// A session that lasted so long was a good one.
constexpr Duration kGoodSession = 1min;

bool belongsToLogin(const platform::TransferOutcome& outcome) {
  return outcome.endpoint.ends_with("oauth2/token/") || outcome.endpoint.ends_with("sync/");
}

}  // namespace

bool isSuccess(const platform::TransferOutcome& outcome) {
  return outcome.status && *outcome.status >= 200 && *outcome.status < 300;
}

void Connection::loggedIn() {
  due_.reset();
  loggingIn_ = true;
  synced_ = false;
}

bool Connection::becomesReady(Instant now) {
  if (!loggingIn_) return false;
  loggingIn_ = false;
  wasReady_ = true;
  readySince_ = now;
  failures_ = 0;
  session_ = Session::kReady;
  return true;
}

void Connection::transferred(const platform::TransferOutcome& outcome, Instant now) {
  if (loggingIn_) {
    if (!belongsToLogin(outcome)) return;
    offline_ = outcome.source != platform::TransferOutcome::Source::kService;
    synced_ = isSuccess(outcome) && outcome.endpoint.ends_with("sync/");
    if (isSuccess(outcome)) return;
    fail(outcome.status ? refused(*outcome.status) : Session::kConnecting, now);
    return;
  }
  // What was asked before is refused for the token of then.
  const bool isExpired = session_ == Session::kReady && outcome.status == kUnauthorized &&
                         now - outcome.duration >= readySince_;
  if (!isExpired) return;
  const bool wasGood = now - readySince_ > kGoodSession;
  session_ = Session::kConnecting;
  due_ = wasGood ? now : now + kFirstPause;
}

void Connection::tryAgain(Instant time) {
  if (due_ || (offline_ && !loggingIn_)) due_ = platform::earlier(due_, time);
}

void Connection::lackCredentials() {
  due_.reset();
  loggingIn_ = false;
  session_ = Session::kNoCredentials;
}

Session Connection::refused(int status) const {
  if (wasReady_) return Session::kNotRenewed;
  return status < kServiceFault ? Session::kRefused : Session::kConnecting;
}

void Connection::fail(Session session, Instant now) {
  loggingIn_ = false;
  session_ = session;
  due_ = now + std::min(kFirstPause * (1 << std::min(failures_, 8)), kLongestPause);
  ++failures_;
}

}  // namespace guidance
