// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "platform/Log.h"
#include "platform/linux/BlueZListening.h"
#include "platform/linux/MainContext.h"
#include "platform/location/Radio.h"

namespace platform {

/// The radio of a Linux phone: beacons through BlueZ's daemon, over the system bus.
class BlueZRadio final : public Radio {
 public:
  /// `adapter`: "hci0" or an address; empty for whichever there is. `log` gets a line on each fault
  /// that is mended without the host's knowledge; it may be null.
  BlueZRadio(MainContext context, std::string adapter, std::shared_ptr<Log> log,
             Listener& listener);

  void listen(const Wanted& wanted) override;
  void stop() override;

 private:
  const MainContext context_;
  const std::string adapter_;
  const std::shared_ptr<Log> log_;
  Listener& listener_;
  /// Kept after it was closed, because that may have been inside a call of its own.
  std::unique_ptr<BlueZListening> listening_;
};

}  // namespace platform
