// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/BlueZRadio.h"

#include <utility>

namespace platform {

BlueZRadio::BlueZRadio(MainContext context, std::string adapter, std::shared_ptr<Log> log,
                       Listener& listener)
    : context_(std::move(context)),
      adapter_(std::move(adapter)),
      log_(std::move(log)),
      listener_(listener) {}

void BlueZRadio::listen(const Wanted& wanted) {
  if (listening_ && listening_->goOn(wanted)) return;
  stop();
  listening_ = std::make_unique<BlueZListening>(
      context_, BlueZListening::Options{
                    .adapter = adapter_, .wanted = wanted, .log = log_, .listener = listener_});
}

void BlueZRadio::stop() {
  if (listening_) listening_->close();
}

}  // namespace platform
