// SPDX-License-Identifier: Apache-2.0
#include "host/KeptAnswers.h"

#include <string>
#include <utility>

#include "BrivaneSDK/BVNetwork.h"
#include "guidance/LoginDelay.h"
#include "guidance/Text.h"
#include "platform/json/SimdJSON.h"

namespace host {

std::shared_ptr<platform::AnswerStore> openAnswers(
    std::function<void(const std::string&)> onFault) {
  return std::make_shared<platform::AnswerStore>(platform::AnswerStore::Options{
      .path = platform::AnswerStore::pathFor("brivane"), .onFault = std::move(onFault)});
}

KeptAnswers::KeptAnswers(Options options, Screen& screen)
    : screen_(screen),
      wake_(std::move(options.wake)),
      client_(std::make_shared<platform::OfflineHTTPClient>(platform::OfflineHTTPClient::Options{
          .inner = std::move(options.inner),
          .store = openAnswers([&screen](const std::string& fault) { screen.complain(fault); }),
          .json = std::make_shared<platform::SimdJSON>(),
          .allowOffline = true,
          .log = std::move(options.log),
          .onTransfer = std::move(options.onTransfer),
          .onNetwork = [this](bool isThere) {
            if (isThere) planRenewal();
          }})) {}

void KeptAnswers::sessionBegan() {
  renewal_ = kNever;
  const bool isOffline = client_->isOffline();
  if (std::exchange(wasOffline_, isOffline) == isOffline) return;
  const char* const news =
      isOffline
          ? guidance::_("the service at %1 does not answer; places come from what it said before")
          : guidance::_("the service at %1 answers again");
  screen_.complain(guidance::filled(news, {BVNetwork::apiHost()}));
}

std::optional<KeptAnswers::Clock::time_point> KeptAnswers::renewal() const {
  const Clock::time_point time = renewal_;
  return time == kNever ? std::nullopt : std::optional(time);
}

void KeptAnswers::networkChanged() { planRenewal(); }

void KeptAnswers::planRenewal() {
  if (!client_->isOffline() || renewal_.load() != kNever) return;
  renewal_ = Clock::now() + guidance::loginDelay();
  if (wake_) wake_();
}

}  // namespace host
