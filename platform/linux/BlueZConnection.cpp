// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/BlueZConnection.h"

#include <utility>

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kName = "org.bluez";
constexpr auto* kProperties = SystemBus::kProperties;
constexpr auto* kObjectManager = SystemBus::kObjectManager;

constexpr Duration kPause = 2s;
constexpr Duration kRefusalPause = 30s;

}  // namespace

bool isDenied(const std::string& error) {
  return error == "org.freedesktop.DBus.Error.AccessDenied" ||
         error == "org.bluez.Error.NotAuthorized" || error == "org.bluez.Error.NotPermitted";
}

BlueZConnection::BlueZConnection(MainContext context, Listener& listener)
    : context_(std::move(context)), listener_(listener), reopening_(context_, [this] { open(); }) {
  open();
}

void BlueZConnection::close() {
  forget();
  watch_.reset();
  bus_->close();
}

void BlueZConnection::open() {
  if (bus_) forget();
  watch_.reset();
  stage_ = Stage::kConnecting;
  bus_ = std::make_unique<SystemBus>(
      context_,
      [this] {
        watch_ = bus_->watch(
            kName, [this](const std::string& owner) { onDaemonAppeared(owner); },
            [this] {
              forget();
              enter(Stage::kNoDaemon);
            });
      },
      [this](const std::string& reason) { onBusLost(reason); });
}

void BlueZConnection::forget() {
  ++epoch_;
  reopening_.set(std::nullopt);
  signals_.clear();
  devices_.reset();
  listener_.onForgotten();
  daemon_.clear();
  reason_.clear();
  refused_ = false;
}

void BlueZConnection::reopenIn(Duration pause) { reopening_.set(monotonicNow() + pause); }

void BlueZConnection::enter(Stage stage) {
  stage_ = stage;
  listener_.onStage();
}

void BlueZConnection::onBusLost(const std::string& reason) {
  forget();
  reason_ = reason;
  reopenIn(kPause);
  enter(Stage::kNoBus);
}

void BlueZConnection::onDaemonAppeared(const std::string& daemon) {
  forget();
  daemon_ = daemon;
  // Before the objects are asked for, so that none is missed between.
  subscribe();
  askForObjects([this, epoch = epoch_](const BusReply& reply) {
    if (epoch == epoch_) readObjects(reply);
  });
  enter(Stage::kAsking);
}

void BlueZConnection::askForObjects(std::function<void(const BusReply&)> answered) {
  bus_->call({.destination = daemon_.c_str(),
              .path = "/",
              .interface = kObjectManager,
              .method = "GetManagedObjects",
              .answer = "(a{oa{sa{sv}}})"},
             std::move(answered));
}

void BlueZConnection::askForDevice(const std::string& path,
                                   std::function<void(const BusReply&)> answered) {
  bus_->call({.destination = daemon_.c_str(),
              .path = path,
              .interface = kProperties,
              .method = "GetAll",
              .arguments = g_variant_new("(s)", kDevice),
              .answer = "(a{sv})"},
             std::move(answered));
}

void BlueZConnection::forEachObject(
    GVariant* objects, const std::function<void(const std::string&, GVariant*)>& each) {
  GVariantIter iterator;
  g_variant_iter_init(&iterator, objects);
  const gchar* path = nullptr;
  GVariant* interfaces = nullptr;
  while (g_variant_iter_next(&iterator, "{&o@a{sa{sv}}}", &path, &interfaces) != FALSE) {
    each(path, Variant(interfaces).get());
  }
}

void BlueZConnection::subscribe() {
  const char* const sender = daemon_.c_str();
  signals_ = {
      bus_->subscribe({sender, "/", kObjectManager, "InterfacesAdded", "(oa{sa{sv}})"},
                      [this](const char*, GVariant* arguments) {
                        const gchar* path = nullptr;
                        GVariant* interfaces = nullptr;
                        g_variant_get(arguments, "(&o@a{sa{sv}})", &path, &interfaces);
                        listener_.onNewObject(path, Variant(interfaces).get());
                      }),
      bus_->subscribe({sender, "/", kObjectManager, "InterfacesRemoved", "(oas)"},
                      [this](const char*, GVariant* arguments) {
                        const gchar* path = nullptr;
                        const gchar** raw = nullptr;
                        g_variant_get(arguments, "(&o^a&s)", &path, &raw);
                        const std::unique_ptr<const gchar*, void (*)(gpointer)> names(raw, g_free);
                        listener_.onRemoved(path, raw);
                      }),
      subscribeToChanges(nullptr, kAdapter,
                         [this](const char* path, GVariant* changed, GVariant* /*invalidated*/) {
                           listener_.onAdapterChanged(path, changed);
                         })};
  tellOfAllDevices(tellsOfAllDevices_);
}

void BlueZConnection::tellOfAllDevices(bool all) {
  tellsOfAllDevices_ = all;
  if (all && devices_) return;
  const bool isPossible = !signals_.empty();
  devices_ = all && isPossible ? subscribeToDevices(nullptr) : nullptr;
}

SystemBus::Registration BlueZConnection::subscribeToDevices(const char* path) {
  return subscribeToChanges(path, kDevice,
                            [this](const char* device, GVariant* changed, GVariant* invalidated) {
                              listener_.onDeviceChanged(device, changed, invalidated);
                            });
}

SystemBus::Registration BlueZConnection::subscribeToChanges(
    const char* path, const char* interface,
    std::function<void(const char*, GVariant*, GVariant*)> told) {
  return bus_->subscribe({daemon_.c_str(), path, kProperties, "PropertiesChanged",
                          SystemBus::kChangedProperties, interface},
                         [told = std::move(told)](const char* object, GVariant* arguments) {
                           const Variant changed(g_variant_get_child_value(arguments, 1));
                           const Variant invalidated(g_variant_get_child_value(arguments, 2));
                           told(object, changed.get(), invalidated.get());
                         });
}

void BlueZConnection::readObjects(const BusReply& reply) {
  refused_ = isDenied(reply.error);
  if (!reply.value) {
    reason_ = reply.message;
    reopenIn(refused_ ? kRefusalPause : kPause);
    enter(Stage::kUnanswered);
    return;
  }
  const Variant objects(g_variant_get_child_value(reply.value.get(), 0));
  forEachObject(objects.get(), [this](const std::string& path, GVariant* interfaces) {
    listener_.onObject(path, interfaces);
  });
  enter(Stage::kKnown);
}

}  // namespace platform
