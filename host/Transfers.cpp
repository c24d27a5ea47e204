// SPDX-License-Identifier: Apache-2.0
#include "host/Transfers.h"

#include "guidance/Connection.h"

namespace host {
namespace {

constexpr int kUnauthorized = 401;

std::string textOf(const platform::TransferOutcome& outcome) {
  if (outcome.status) return "status " + std::to_string(*outcome.status);
  return outcome.fault.empty() ? "no answer" : "no answer: " + outcome.fault;
}

}  // namespace

void Transfers::note(const platform::TransferOutcome& outcome) {
  std::unique_lock lock(mutex_);
  ++count_;
  latest_ = textOf(outcome);
  latestSucceeded_ = guidance::isSuccess(outcome);
  if (latestSucceeded_ || !telling_) return;
  if (outcome.status == kUnauthorized) {
    ++expired_;
    return;
  }
  ++failed_;
  if (!told_.insert(latest_).second) return;
  const std::string failure = latest_;
  lock.unlock();  // whoever is told may ask for more
  onFailure_(failure);
}

void Transfers::tellFailures() {
  const std::lock_guard lock(mutex_);
  telling_ = true;
}

bool Transfers::latestSucceeded() const {
  const std::lock_guard lock(mutex_);
  return latestSucceeded_;
}

std::string Transfers::latest() const {
  const std::lock_guard lock(mutex_);
  return latest_;
}

bool Transfers::tokenExpired() const {
  const std::lock_guard lock(mutex_);
  return expired_ > 0;
}

void Transfers::forgetExpiry() {
  const std::lock_guard lock(mutex_);
  expired_ = 0;
}

std::string Transfers::failures() const {
  const std::lock_guard lock(mutex_);
  const int lost = failed_ + expired_;
  if (lost == 0) return "";
  return std::to_string(lost) + " of " + std::to_string(count_) + " requests failed";
}

}  // namespace host
