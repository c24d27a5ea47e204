// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/Export.h"
#include "platform/Location.h"

namespace platform {

/// How the platform answers the question for positions.
enum class PositionGrant {
  /// Nobody asked, or the user has not answered yet.
  kPending,
  kGranted,
  /// By the user.
  kDenied,
  /// By the device's configuration, or because nobody is there to ask the user.
  kRestricted,
  /// There are no positions on this device, or the user has switched them off for all.
  kSwitchedOff,
};

/// Finds the device's position, and asks the user for permission to. A port writes this over its
/// platform's positions. All calls, both ways, are on the thread of the loop that it was made for.
class BRIVANE_EXPORT PositionSource {
 public:
  /// Who is told. Not called from inside `start`, nor after `stop` until it is started again.
  class BRIVANE_EXPORT Listener {
   public:
    virtual ~Listener() = default;
    /// The device is at `position`, now.
    virtual void positionFound(const CLLocation& position) = 0;
    /// The answer to the question for permission, after each start and at each change. `reason` is
    /// one line for a person when positions are not granted, and empty when they are.
    virtual void positionGrantChanged(PositionGrant grant, const std::string& reason) = 0;
  };

  /// Stops.
  virtual ~PositionSource() = default;

  /// Asks for permission, and while that is granted reports positions, about as fine as `accuracy`
  /// metres. Called again, it goes on with another accuracy. Never called from inside a call to the
  /// listener.
  virtual void start(double accuracy) = 0;

  /// Ends at once all that `start` began. May be called from inside a call to the listener, and
  /// then the source is destroyed only after that has returned.
  virtual void stop() = 0;
};

}  // namespace platform
