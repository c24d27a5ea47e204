// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/Options.h"
#include "host/Screen.h"
#include "platform/linux/LinuxLocationService.h"

namespace host {

/// This machine's radio and positions as a location service, for the commands that listen live.
/// Says what is wrong with them, and knows whether they ever worked.
class Radio {
 public:
  struct Options {
    LiveOptions live;
    /// Whether positions are wanted.
    bool positions = false;
    bool log = false;
    /// Called with each frame; may be empty.
    std::function<void(const platform::Advertisement&)> onAdvertisement;
  };

  Radio(Screen& screen, Options options);

  const std::shared_ptr<platform::LinuxLocationService>& service() const { return service_; }

  /// Whether it cannot listen, and never could.
  bool isUseless() const { return !hasListened_ && !fault_.empty(); }
  /// Throws Failure with the reason when it is; an adapter that does not exist is a wrong option.
  void failIfUseless() const;
  /// Whether the user or the system keeps beacons or positions from this application.
  bool isDenied() const;
  /// Throws Failure when the user's or the system's consent is missing.
  void failUnlessAuthorized() const;

 private:
  void onRadio(const platform::Radio::Status& status);

  Screen& screen_;
  const std::string adapter_;
  bool hasListened_ = false;
  bool complained_ = false;
  /// What is wrong now.
  platform::Radio::FaultKind kind_ = platform::Radio::FaultKind::kNone;
  std::string fault_;
  /// Why detection is not allowed, or not all of it.
  std::string refusal_;
  const std::shared_ptr<platform::LinuxLocationService> service_;
};

}  // namespace host
