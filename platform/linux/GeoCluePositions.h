#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Location.h"
#include "platform/linux/LocationPermission.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/SystemBus.h"

namespace platform {

/// What the refusal of a GeoClue call says about the permission to know the position. GeoClue gives
/// its reasons in the text alone.
PositionGrant positionGrantOf(const std::string& error, const std::string& message);

/// A position from the properties of org.freedesktop.GeoClue2.Location (a{sv}); absent when it is
/// older than half a minute at `now`, microseconds since 1970, or not a position at all.
std::optional<CLLocation> positionIn(GVariant* properties, std::int64_t now);

/// The positions that GeoClue finds, for as long as this lives; it asks for permission to begin
/// with. Lives on the thread of its context; never destroyed from inside one of its own calls.
class GeoCluePositions {
 public:
  struct Options {
    /// Names the application to GeoClue, and so to the user.
    std::string desktopId;
    /// Metres.
    double accuracy = kCLLocationAccuracyNearestTenMeters;
    std::function<void(const CLLocation&)> onPosition;
    /// With the reason for a person, empty when it is granted.
    std::function<void(PositionGrant, const std::string&)> onGrant;
  };

  GeoCluePositions(MainContext context, Options options);

  double accuracy() const { return options_.accuracy; }

  /// Ends it at once; nothing is called afterwards. May be called from inside its own calls.
  void close();

 private:
  void open();
  void useClient(const BusReply& reply);
  void setProperty(const char* name, GVariant* value);
  void onStarted(const BusReply& reply);
  void onActiveChanged(GVariant* arguments);
  void onLocationUpdated(GVariant* arguments);
  void refuse(const BusReply& reply);

  const MainContext context_;
  const Options options_;
  Timer timer_;
  std::string client_;
  bool started_ = false;
  std::unique_ptr<SystemBus> bus_;
  SystemBus::Registration watch_;
  std::vector<SystemBus::Registration> signals_;
};

}  // namespace platform
