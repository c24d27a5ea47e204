// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>

#include "BrivaneSDK/BVManager.h"
#include "host/Announcer.h"
#include "host/Screen.h"
#include "host/Session.h"

namespace host {

/// Detection, from login to stop, with a new manager whenever the access token has expired, or
/// the service is back: the library never logs in again by itself. One thread.
class Detection {
 public:
  /// `gps`: positions too.
  Detection(Session& session, Screen& screen, std::shared_ptr<Announcer> announcer, bool gps)
      : session_(session), screen_(screen), announcer_(std::move(announcer)), gps_(gps) {}

  /// Logs in; false when the session was interrupted first. Throws Failure when the service
  /// refuses.
  bool connect();
  /// Starts to detect, and to tell of requests that fail. Throws Failure when it cannot.
  void start();
  /// Logs in anew and starts again when the token has expired, or when a session without the
  /// service is to be renewed. While detecting, and not inside a call of the location service.
  void renewIfDue();
  /// Whether it is time for that; and in how many seconds it will be, if that is known.
  bool isRenewalDue() const;
  std::optional<double> secondsToRenewal() const;
  void stop();
  /// Throws Failure when requests have failed since the start.
  void failIfRequestsFailed() const;

 private:
  Session& session_;
  Screen& screen_;
  const std::shared_ptr<Announcer> announcer_;
  const bool gps_;
  /// Null before `connect`, and while it logs in anew.
  std::shared_ptr<BVManager> manager_;
};

}  // namespace host
