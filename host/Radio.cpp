// SPDX-License-Identifier: Apache-2.0
#include "host/Radio.h"

#include <utility>

#include "host/Failure.h"
#include "platform/files/StandardErrorLog.h"

namespace host {

Radio::Radio(Screen& screen, Options options)
    : screen_(screen),
      adapter_(options.live.adapter),
      service_(
          std::make_shared<platform::LinuxLocationService>(platform::LinuxLocationService::Options{
              .adapter = options.live.adapter,
              .desktopId = options.positions ? options.live.desktopId : "",
              .live = {
                  .log = options.log ? std::make_shared<platform::StandardErrorLog>() : nullptr,
                  .onRadio = [this](const auto& status) { onRadio(status); },
                  .onPermission = [this](const auto& /*permission*/,
                                         const std::string& reason) { refusal_ = reason; },
                  .onNoPositions = [this](const auto& reason) { screen_.complain(reason); },
                  .onAdvertisement = std::move(options.onAdvertisement)}})) {}

void Radio::failIfUseless() const {
  if (!isUseless()) return;
  const bool isWrongOption = !adapter_.empty() && kind_ == platform::Radio::FaultKind::kNoAdapter;
  throw Failure(isWrongOption ? kUsageFailure : kServiceFailure, fault_);
}

bool Radio::isDenied() const {
  return service_->authorizationStatus() == platform::kCLAuthorizationStatusDenied;
}

void Radio::failUnlessAuthorized() const {
  if (service_->authorizationStatus() == platform::kCLAuthorizationStatusAuthorizedAlways) return;
  const std::string& reason = refusal_.empty() ? fault_ : refusal_;
  throw Failure(kServiceFailure, "not allowed to detect: " +
                                     (reason.empty() ? "nobody answered the question" : reason));
}

void Radio::onRadio(const platform::Radio::Status& status) {
  kind_ = status.kind;
  const std::string before = std::exchange(fault_, status.fault);
  if (hasListened_ && !fault_.empty() && fault_ != before) {
    screen_.complain(fault_);
    complained_ = true;
  }
  if (!status.listening) return;
  hasListened_ = true;
  if (std::exchange(complained_, false)) screen_.complain("listening again");
}

}  // namespace host
