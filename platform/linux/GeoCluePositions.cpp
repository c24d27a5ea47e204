// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/GeoCluePositions.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kDaemon = "org.freedesktop.GeoClue2";
constexpr const char* kManager = "org.freedesktop.GeoClue2.Manager";
constexpr const char* kClient = "org.freedesktop.GeoClue2.Client";
constexpr const char* kLocation = "org.freedesktop.GeoClue2.Location";
constexpr auto* kProperties = SystemBus::kProperties;

constexpr std::uint32_t kStreet = 6;
constexpr std::uint32_t kExact = 8;
/// From how many metres on a street will do.
constexpr double kStreetAccuracy = 100.0;

constexpr std::int64_t kMicroseconds = 1'000'000;
constexpr std::int64_t kOldest = 30 * kMicroseconds;

constexpr Duration kPause = 30s;
constexpr Duration kPauseAfterLoss = 2s;
/// Starting the daemon takes a while; the user takes longer to answer its question.
constexpr std::chrono::milliseconds kPatienceForDaemon = 25s;
constexpr std::chrono::milliseconds kPatienceForUser = 120s;

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

Refusal refusalOf(const std::string& error, const std::string& message) {
  using Grant = PositionGrant;
  const std::string service = "org.freedesktop.DBus.Error.ServiceUnknown";
  if (error == service || error.starts_with("org.freedesktop.DBus.Error.Spawn.")) {
    return {Grant::kSwitchedOff, "GeoClue, which finds positions, is not installed; install it"};
  }
  // A lost bus, a limit or a time-out says nothing about the user's wish.
  if (error != "org.freedesktop.DBus.Error.AccessDenied") {
    return {Grant::kPending, "GeoClue does not answer yet: " + message};
  }
  if (contains(message, "disabled")) {
    return {Grant::kSwitchedOff, "location is switched off; switch it on in the settings"};
  }
  if (contains(message, "no agent")) {
    return {Grant::kRestricted,
            "nobody is there to ask the user for permission to know the "
            "position; start a GeoClue agent"};
  }
  if (contains(message, "configuration")) {
    return {Grant::kRestricted,
            "GeoClue's configuration keeps the position from this application; "
            "change it in /etc/geoclue/geoclue.conf"};
  }
  return {Grant::kDenied,
          "the user keeps the position from this application; allow it in the "
          "settings, then start anew"};
}

std::optional<CLLocation> positionIn(GVariant* properties, std::int64_t now) {
  CLLocation position;
  auto& [latitude, longitude] = position.coordinate;
  const bool isComplete =
      g_variant_lookup(properties, "Latitude", "d", &latitude) != FALSE &&
      g_variant_lookup(properties, "Longitude", "d", &longitude) != FALSE &&
      g_variant_lookup(properties, "Accuracy", "d", &position.horizontalAccuracy) != FALSE;
  const bool isOnEarth = std::abs(latitude) <= 90.0 && std::abs(longitude) <= 180.0;
  if (!isComplete || !isOnEarth || std::isnan(position.horizontalAccuracy)) return std::nullopt;
  guint64 seconds = 0;
  guint64 microseconds = 0;
  if (g_variant_lookup(properties, "Timestamp", "(tt)", &seconds, &microseconds) != FALSE) {
    const auto oldest = static_cast<std::uint64_t>((now - kOldest) / kMicroseconds);
    if (seconds < oldest) return std::nullopt;
  }
  return position;
}

GeoCluePositions::GeoCluePositions(MainContext context, std::string desktopId, Listener& listener)
    : context_(std::move(context)),
      desktopId_(std::move(desktopId)),
      listener_(listener),
      timer_(context_, [this] { open(); }) {}

void GeoCluePositions::start(double accuracy) {
  accuracy_ = accuracy;
  open();
}

void GeoCluePositions::stop() {
  signals_.clear();
  watch_.reset();
  if (bus_) bus_->close();
  timer_.set(std::nullopt);
}

void GeoCluePositions::open() {
  stop();
  granted_ = false;
  bus_ = std::make_unique<SystemBus>(
      context_,
      [this] {
        bus_->call({.destination = kDaemon,
                    .path = "/org/freedesktop/GeoClue2/Manager",
                    .interface = kManager,
                    .method = "GetClient",
                    .answer = "(o)",
                    .timeout = kPatienceForDaemon,
                    .starts = true},
                   [this](const BusReply& reply) { useClient(reply); });
      },
      [this](const std::string& fault) {
        refuse({.value = nullptr, .error = "", .message = fault});
      });
}

void GeoCluePositions::useClient(const BusReply& reply) {
  if (!reply.value) {
    refuse(reply);
    return;
  }
  const gchar* path = nullptr;
  g_variant_get(reply.value.get(), "(&o)", &path);
  client_ = path;
  const bool street = accuracy_ >= kStreetAccuracy;
  setProperty("DesktopId", g_variant_new_string(desktopId_.c_str()));
  setProperty("RequestedAccuracyLevel", g_variant_new_uint32(street ? kStreet : kExact));
  // Below its threshold GeoClue can lose a slow walk; distances are filtered behind this.
  setProperty("DistanceThreshold", g_variant_new_uint32(0));
  watch_ = bus_->watch(
      kDaemon, [](const std::string&) {}, [this] { timer_.set(monotonicNow() + kPauseAfterLoss); });
  signals_ = {
      bus_->subscribe({kDaemon, path, kClient, "LocationUpdated", "(oo)"},
                      [this](const char*, GVariant* arguments) { onLocationUpdated(arguments); }),
      bus_->subscribe(
          {kDaemon, path, kProperties, "PropertiesChanged", SystemBus::kChangedProperties, kClient},
          [this](const char*, GVariant* arguments) { onActiveChanged(arguments); })};
  startClient();
}

void GeoCluePositions::startClient() {
  bus_->call({.destination = kDaemon,
              .path = client_,
              .interface = kClient,
              .method = "Start",
              .timeout = kPatienceForUser},
             [this](const BusReply& reply) { onStarted(reply); });
}

void GeoCluePositions::setProperty(const char* name, GVariant* value) {
  bus_->call({.destination = kDaemon,
              .path = client_,
              .interface = kProperties,
              .method = "Set",
              .arguments = g_variant_new("(ssv)", kClient, name, value)},
             [](const BusReply&) {});  // where it fails, so does the start
}

void GeoCluePositions::onStarted(const BusReply& reply) {
  if (reply.value) {
    grant();
  } else {
    refuse(reply);
  }
}

/// GeoClue stops a client when the user withdraws the permission or switches location off, and
/// starts it again when the user relents. Why it stopped it says to whoever tries to start it.
void GeoCluePositions::onActiveChanged(GVariant* arguments) {
  const Variant changed(g_variant_get_child_value(arguments, 1));
  gboolean active = FALSE;
  if (g_variant_lookup(changed.get(), "Active", "b", &active) == FALSE) return;
  if (active != FALSE) {
    grant();
  } else if (std::exchange(granted_, false)) {
    startClient();
  }
}

void GeoCluePositions::grant() {
  timer_.set(std::nullopt);
  if (!std::exchange(granted_, true)) {
    listener_.positionGrantChanged(PositionGrant::kGranted, "");
  }
}

void GeoCluePositions::onLocationUpdated(GVariant* arguments) {
  const gchar* path = nullptr;
  g_variant_get_child(arguments, 1, "&o", &path);
  if (std::string(path) == "/") return;  // none yet
  bus_->call({.destination = kDaemon,
              .path = path,
              .interface = kProperties,
              .method = "GetAll",
              .arguments = g_variant_new("(s)", kLocation),
              .answer = "(a{sv})"},
             [this](const BusReply& reply) {
               if (!reply.value) return;
               const Variant properties(g_variant_get_child_value(reply.value.get(), 0));
               const auto position = positionIn(properties.get(), g_get_real_time());
               if (position) listener_.positionFound(*position);
             });
}

void GeoCluePositions::refuse(const BusReply& reply) {
  const auto [refused, reason] = refusalOf(reply.error, reply.message);
  // Who was denied does not ask again and again, but hears when GeoClue starts the client after
  // all.
  if (refused != PositionGrant::kDenied) timer_.set(monotonicNow() + kPause);
  listener_.positionGrantChanged(refused, reason);
}

}  // namespace platform
