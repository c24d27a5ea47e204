// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>

#include "platform/Export.h"
#include "platform/location/Advertisement.h"
#include "platform/location/EventLoop.h"
#include "platform/location/Radio.h"

namespace brivane::testing {

/// A phone's Bluetooth as a test says: what is heard, and whether it works. On the thread of its
/// loop.
class BRIVANE_EXPORT VirtualRadio {
 public:
  /// It works, and nothing is on the air.
  explicit VirtualRadio(std::shared_ptr<platform::EventLoop> loop);
  ~VirtualRadio();
  VirtualRadio(const VirtualRadio&) = delete;
  VirtualRadio& operator=(const VirtualRadio&) = delete;

  /// What `platform::LiveLocationService::Sources` asks for. It may outlive this, and hears nothing
  /// then.
  std::unique_ptr<platform::Radio> create(platform::Radio::Listener& listener);

  /// What is told from now on whenever listening is asked for, and at once if it has been. Without
  /// a network to hear, `listening` counts as false.
  void setStatus(platform::Radio::Status status);

  /// An advertisement is on the air now: told to whoever listens, if the radio works.
  void hear(const platform::Advertisement& advertisement);

  /// What the application asks to hear; absent while nothing listens. A test of what detection
  /// costs looks here.
  std::optional<platform::Radio::Wanted> wanted() const;

 private:
  class Face;
  struct State;

  const std::shared_ptr<State> state_;
};

}  // namespace brivane::testing
