// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Location.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/SystemBus.h"
#include "platform/location/PositionSource.h"

namespace platform {

/// What a failed GeoClue call says about the permission to know the position, and one line for a
/// person that says what to do.
struct Refusal {
  PositionGrant grant;
  std::string reason;
};

/// Reads a D-Bus error: its name, and its text, in which alone GeoClue gives its reasons.
Refusal refusalOf(const std::string& error, const std::string& message);

/// A position from the properties of org.freedesktop.GeoClue2.Location (a{sv}); absent when it is
/// older than half a minute at `now`, microseconds since 1970, or not a position at all.
std::optional<CLLocation> positionIn(GVariant* properties, std::int64_t now);

/// The positions that GeoClue finds, over the system bus. While nobody denies them and they are not
/// granted, it asks again each half minute.
class GeoCluePositions final : public PositionSource {
 public:
  /// `desktopId` names the application to GeoClue, and so to the user.
  GeoCluePositions(MainContext context, std::string desktopId, Listener& listener);

  void start(double accuracy) override;
  void stop() override;

 private:
  void open();
  void useClient(const BusReply& reply);
  void startClient();
  void setProperty(const char* name, GVariant* value);
  void onStarted(const BusReply& reply);
  void onActiveChanged(GVariant* arguments);
  void onLocationUpdated(GVariant* arguments);
  void grant();
  void refuse(const BusReply& reply);

  const MainContext context_;
  const std::string desktopId_;
  Listener& listener_;
  double accuracy_ = kCLLocationAccuracyNearestTenMeters;
  Timer timer_;
  std::string client_;
  bool granted_ = false;
  std::unique_ptr<SystemBus> bus_;
  SystemBus::Registration watch_;
  std::vector<SystemBus::Registration> signals_;
};

}  // namespace platform
