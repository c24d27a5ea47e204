// SPDX-License-Identifier: Apache-2.0
#include "host/Detection.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "guidance/Text.h"
#include "host/Failure.h"

namespace host {
namespace {

constexpr int kLogins = 5;
constexpr std::chrono::seconds kBetweenLogins{2};

}  // namespace

bool Detection::connect() {
  manager_ = session_.connect(announcer_);
  return manager_ != nullptr;
}

void Detection::start() {
  session_.transfers().tellFailures();
  manager_->setEnabledGPS(gps_);
  if (!manager_->startDetection()) throw Failure(kServiceFailure, "detection did not start");
}

std::optional<double> Detection::secondsToRenewal() const {
  const auto renewal = session_.renewal();
  if (!renewal) return std::nullopt;
  const std::chrono::duration<double> left = *renewal - KeptAnswers::Clock::now();
  return std::max(left.count(), 0.0);
}

bool Detection::isRenewalDue() const {
  return session_.transfers().tokenExpired() || secondsToRenewal() == 0.0;
}

void Detection::renewIfDue() {
  if (!manager_ || !isRenewalDue()) return;
  const bool hasExpired = session_.transfers().tokenExpired();
  manager_->stopDetection();
  manager_.reset();
  // What was asked with the old token is refused too: it must not be taken for the new one's.
  session_.waitUntilAnswered();
  for (int login = 1; !manager_ && !session_.isInterrupted(); ++login) {
    try {
      connect();
    } catch (const Failure&) {
      if (login == kLogins) throw;
      session_.rest(kBetweenLogins);
    }
  }
  if (!manager_) return;
  session_.transfers().forgetExpiry();
  if (hasExpired) screen_.complain(guidance::_("the access token had expired; logged in anew"));
  start();
}

void Detection::stop() {
  if (manager_) manager_->stopDetection();
}

void Detection::failIfRequestsFailed() const {
  const std::string failures = session_.transfers().failures();
  if (!failures.empty()) session_.failWith(failures);
}

}  // namespace host
