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

PositionGrant positionGrantOf(const std::string& error, const std::string& message) {
  if (error == "org.freedesktop.DBus.Error.NoReply") return PositionGrant::kPending;
  // The daemon is not there, or cannot be started.
  if (error != "org.freedesktop.DBus.Error.AccessDenied") return PositionGrant::kSwitchedOff;
  if (contains(message, "disabled")) return PositionGrant::kSwitchedOff;
  const bool byOthers = contains(message, "configuration") || contains(message, "no agent");
  return byOthers ? PositionGrant::kRestricted : PositionGrant::kDenied;
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
  started_ = false;
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
  bus_->call({.destination = kDaemon,
              .path = client_,
              .interface = kClient,
              .method = "Start",
              .timeout = kPatienceForUser},
             [this](const BusReply& started) { onStarted(started); });
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
  if (!reply.value) {
    refuse(reply);
    return;
  }
  started_ = true;
  listener_.positionGrantChanged(PositionGrant::kGranted, "");
}

/// GeoClue stops and starts a client as the user wishes.
void GeoCluePositions::onActiveChanged(GVariant* arguments) {
  const Variant changed(g_variant_get_child_value(arguments, 1));
  gboolean active = FALSE;
  if (!started_ || g_variant_lookup(changed.get(), "Active", "b", &active) == FALSE) return;
  listener_.positionGrantChanged(
      active != FALSE ? PositionGrant::kGranted : PositionGrant::kDenied,
      active != FALSE ? "" : "the permission to know the position was withdrawn");
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
  timer_.set(monotonicNow() + kPause);
  listener_.positionGrantChanged(positionGrantOf(reply.error, reply.message),
                                 "no positions from GeoClue: " + reply.message);
}

}  // namespace platform
