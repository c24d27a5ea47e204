#include "platform/linux/BlueZRadio.h"

#include <glib.h>

#include <string_view>
#include <utility>

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kDaemon = "org.bluez";
constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr const char* kDevice = "org.bluez.Device1";
constexpr const char* kMonitorManager = "org.bluez.AdvertisementMonitorManager1";
constexpr auto* kProperties = SystemBus::kProperties;
constexpr auto* kObjectManager = SystemBus::kObjectManager;
constexpr std::string_view kAdapterPath = "/org/bluez/";

/// BlueZ answers these calls at once, or as soon as its controller does.
constexpr std::chrono::milliseconds kPatience = 3s;
constexpr Duration kBusPause = 2s;
constexpr Duration kRefusalPause = 30s;
/// A daemon that has just started finds its adapters one by one.
constexpr Duration kAdapterGrace = 2s;

bool isDenied(const std::string& error) {
  return error == "org.freedesktop.DBus.Error.AccessDenied" ||
         error == "org.bluez.Error.NotAuthorized" || error == "org.bluez.Error.NotPermitted";
}

DiscoverySchedule::Outcome outcomeOf(const BusReply& reply) {
  using Outcome = DiscoverySchedule::Outcome;
  if (reply.value) return Outcome::kDone;
  if (isDenied(reply.error)) return Outcome::kRefused;
  if (reply.error == "org.freedesktop.DBus.Error.NoReply") return Outcome::kLost;
  const bool isBusy =
      reply.error == "org.bluez.Error.InProgress" || reply.error == "org.bluez.Error.NotReady";
  return isBusy ? Outcome::kBusy : Outcome::kFailed;
}

/// Every report, of LE devices, however faint. The empty pattern matches every address: it keeps
/// ours coming while another client's filter matches none of them.
GVariant* filter() {
  return g_variant_new_parsed(
      "({'Transport': <'le'>, 'DuplicateData': <true>, 'RSSI': <int16 -127>, 'Pattern': <''>},)");
}

bool isSameText(const std::string& a, const std::string& b) {
  return g_ascii_strcasecmp(a.c_str(), b.c_str()) == 0;
}

}  // namespace

BlueZRadio::BlueZRadio(MainContext context, Options options)
    : context_(std::move(context)),
      options_(std::move(options)),
      timer_(context_, [this] { onTimer(); }) {
  open();
}

void BlueZRadio::close() {
  closed_ = true;
  forgetDaemon();
  watch_.reset();
  bus_->close();
  timer_.set(std::nullopt);
}

void BlueZRadio::open() {
  forgetDaemon();
  watch_.reset();
  stage_ = Stage::kConnecting;
  bus_ = std::make_unique<SystemBus>(
      context_,
      [this] {
        watch_ = bus_->watch(
            kDaemon, [this](const std::string& owner) { onDaemonAppeared(owner); },
            [this] { onDaemonVanished(); });
      },
      [this](const std::string& fault) { onBusLost(fault); });
}

void BlueZRadio::onTimer() {
  armed_.reset();
  if (reopenAt_ && *reopenAt_ <= monotonicNow()) {
    reopenAt_.reset();
    open();
  }
  proceed();
}

void BlueZRadio::reopenIn(Duration pause) { reopenAt_ = monotonicNow() + pause; }

void BlueZRadio::onBusLost(const std::string& fault) {
  forgetDaemon();
  stage_ = Stage::kNoBus;
  log("the system bus: " + fault);
  refused_ = false;
  reopenIn(kBusPause);
  proceed();
}

void BlueZRadio::onDaemonAppeared(const std::string& daemon) {
  forgetDaemon();
  daemon_ = daemon;
  stage_ = Stage::kAsking;
  const char* const sender = daemon_.c_str();
  // Before the objects are asked for, so that none is missed between.
  signals_ = {
      bus_->subscribe({sender, "/", kObjectManager, "InterfacesAdded", "(oa{sa{sv}})"},
                      [this](const char*, GVariant* arguments) { onInterfacesAdded(arguments); }),
      bus_->subscribe({sender, "/", kObjectManager, "InterfacesRemoved", "(oas)"},
                      [this](const char*, GVariant* arguments) { onInterfacesRemoved(arguments); }),
      bus_->subscribe(
          {sender, nullptr, kProperties, "PropertiesChanged", SystemBus::kChangedProperties,
           kDevice},
          [this](const char* path, GVariant* arguments) { onDeviceChanged(path, arguments); }),
      bus_->subscribe(
          {sender, nullptr, kProperties, "PropertiesChanged", SystemBus::kChangedProperties,
           kAdapter},
          [this](const char* path, GVariant* arguments) { onAdapterChanged(path, arguments); })};
  bus_->call({.destination = sender,
              .path = "/",
              .interface = kObjectManager,
              .method = "GetManagedObjects",
              .answer = "(a{oa{sa{sv}}})"},
             [this, epoch = epoch_](const BusReply& reply) {
               if (epoch == epoch_) readObjects(reply);
             });
  proceed();
}

void BlueZRadio::onDaemonVanished() {
  forgetDaemon();
  stage_ = Stage::kNoDaemon;
  refused_ = false;
  proceed();
}

void BlueZRadio::forgetDaemon() {
  ++epoch_;
  monitor_.reset();
  signals_.clear();
  daemon_.clear();
  adapters_.clear();
  adapter_.clear();
  devices_.forgetAll();
  usable_ = false;
  failure_.clear();
  schedule_.setUsable(false, monotonicNow());
}

void BlueZRadio::readObjects(const BusReply& reply) {
  const bool isRefused = isDenied(reply.error);
  refused_ = isRefused;
  if (!reply.value) {
    failure_ = "the Bluetooth daemon does not say what it has: " + reply.message;
    reopenIn(isRefused ? kRefusalPause : kBusPause);
  } else {
    stage_ = Stage::kKnown;
    adaptersDue_ = monotonicNow() + kAdapterGrace;
    const Variant objects(g_variant_get_child_value(reply.value.get(), 0));
    GVariantIter iterator;
    g_variant_iter_init(&iterator, objects.get());
    const gchar* path = nullptr;
    GVariant* interfaces = nullptr;
    while (g_variant_iter_next(&iterator, "{&o@a{sa{sv}}}", &path, &interfaces) != FALSE) {
      readObject(path, Variant(interfaces).get());
    }
  }
  chooseAdapter();
  proceed();
}

void BlueZRadio::readObject(const std::string& path, GVariant* interfaces) {
  const Variant adapter(g_variant_lookup_value(interfaces, kAdapter, G_VARIANT_TYPE_VARDICT));
  const Variant manager(g_variant_lookup_value(interfaces, kMonitorManager, nullptr));
  const Variant device(g_variant_lookup_value(interfaces, kDevice, G_VARIANT_TYPE_VARDICT));
  if (adapter) updateAdapter(path, adapter.get());
  const auto found = adapters_.find(path);
  if (manager && found != adapters_.end()) found->second.offersMonitor = true;
  if (device) devices_.know(path, device.get());
}

void BlueZRadio::onInterfacesAdded(GVariant* arguments) {
  const gchar* path = nullptr;
  GVariant* raw = nullptr;
  g_variant_get(arguments, "(&o@a{sa{sv}})", &path, &raw);
  const Variant interfaces(raw);
  const Variant device(g_variant_lookup_value(raw, kDevice, G_VARIANT_TYPE_VARDICT));
  if (device) {
    hear(path, devices_.find(path, device.get()));
    return;
  }
  readObject(path, raw);
  chooseAdapter();
  proceed();
}

void BlueZRadio::onInterfacesRemoved(GVariant* arguments) {
  const gchar* path = nullptr;
  const gchar** raw = nullptr;
  g_variant_get(arguments, "(&o^a&s)", &path, &raw);
  const std::unique_ptr<const gchar*, void (*)(gpointer)> names(raw, g_free);
  if (g_strv_contains(raw, kDevice) != FALSE) devices_.forget(path);
  if (g_strv_contains(raw, kAdapter) == FALSE) return;
  adapters_.erase(path);
  chooseAdapter();
  proceed();
}

void BlueZRadio::onDeviceChanged(const std::string& path, GVariant* arguments) {
  const Variant changed(g_variant_get_child_value(arguments, 1));
  const Variant invalidated(g_variant_get_child_value(arguments, 2));
  hear(path, devices_.change(path, changed.get(), invalidated.get()));
}

void BlueZRadio::onAdapterChanged(const std::string& path, GVariant* arguments) {
  if (!adapters_.contains(path)) return;
  const Variant changed(g_variant_get_child_value(arguments, 1));
  updateAdapter(path, changed.get());
  chooseAdapter();
  proceed();
}

void BlueZRadio::updateAdapter(const std::string& path, GVariant* properties) {
  Adapter& adapter = adapters_[path];
  const gchar* address = nullptr;
  if (g_variant_lookup(properties, "Address", "&s", &address) != FALSE) adapter.address = address;
  gboolean powered = FALSE;
  if (g_variant_lookup(properties, "Powered", "b", &powered) != FALSE) {
    adapter.powered = powered != FALSE;
  }
  gboolean discovering = FALSE;
  if (g_variant_lookup(properties, "Discovering", "b", &discovering) != FALSE) {
    adapter.discovering = discovering != FALSE;
    if (path == adapter_) schedule_.setDiscovering(adapter.discovering, monotonicNow());
  }
}

std::optional<int> BlueZRadio::rank(const Adapters::value_type& adapter) const {
  const auto& [path, properties] = adapter;
  const bool isProven = !address_.empty() && properties.address == address_;
  const bool isNamed = path == std::string(kAdapterPath) + options_.adapter ||
                       isSameText(properties.address, options_.adapter);
  if (!options_.adapter.empty() && !isNamed && !isProven) return std::nullopt;
  // Whoever chose an adapter means that one, wherever it is; otherwise one with power serves best.
  const bool chosen = !options_.adapter.empty();
  return (isProven ? (chosen ? 4 : 1) : 0) + (properties.powered ? 2 : 0);
}

void BlueZRadio::chooseAdapter() {
  const Adapters::value_type* best = nullptr;
  int bestRank = -1;
  for (const auto& adapter : adapters_) {
    const auto its = rank(adapter);
    if (!its || *its <= bestRank) continue;
    best = &adapter;
    bestRank = *its;
  }
  const std::string path = best != nullptr ? best->first : "";
  const bool usable = best != nullptr && best->second.powered && !options_.networks.empty();
  if (path == adapter_ && usable == usable_) return;
  ++epoch_;
  adapter_ = path;
  usable_ = usable;
  provenHere_ = false;
  if (!options_.adapter.empty() && best != nullptr) address_ = best->second.address;
  failure_.clear();
  schedule_.setUsable(usable, monotonicNow());
  schedule_.setDiscovering(usable && best->second.discovering, monotonicNow());
  monitor_.reset();
  if (usable && best->second.offersMonitor) startMonitor();
}

void BlueZRadio::startMonitor() {
  monitor_ = std::make_unique<BlueZMonitor>(
      *bus_, context_, daemon_, adapter_, options_.networks, [this](const std::string& reason) {
        log("no advertisement monitor, discovery goes on alone: " + reason);
      });
}

void BlueZRadio::proceed() {
  if (const auto call = schedule_.next(monotonicNow())) perform(*call);
  publish();
  if (!closed_) arm();
}

void BlueZRadio::perform(DiscoverySchedule::Call call) {
  using Call = DiscoverySchedule::Call;
  if (call == Call::kRenewConnection) {
    log("nothing is heard, the connection is renewed");
    reopenIn(0s);
    return;
  }
  if (call == Call::kStop) log("nothing is heard, discovery is renewed");
  const char* const method = call == Call::kSetFilter ? "SetDiscoveryFilter"
                             : call == Call::kStart   ? "StartDiscovery"
                                                      : "StopDiscovery";
  bus_->call({.destination = daemon_.c_str(),
              .path = adapter_,
              .interface = kAdapter,
              .method = method,
              .arguments = call == Call::kSetFilter ? filter() : nullptr,
              .timeout = kPatience},
             [this, call, epoch = epoch_](const BusReply& reply) {
               if (epoch == epoch_) finish(call, reply);
             });
}

void BlueZRadio::finish(DiscoverySchedule::Call call, const BusReply& reply) {
  using Outcome = DiscoverySchedule::Outcome;
  const Outcome outcome = outcomeOf(reply);
  const bool fails = outcome == Outcome::kRefused || outcome == Outcome::kFailed;
  const bool starts = call == DiscoverySchedule::Call::kStart && outcome == Outcome::kDone;
  if (call != DiscoverySchedule::Call::kStop && (fails || starts)) {
    failure_ = fails ? "Bluetooth discovery does not start: " + reply.message : "";
    refused_ = outcome == Outcome::kRefused;
  }
  schedule_.finish(outcome, monotonicNow());
  proceed();
}

void BlueZRadio::hear(const std::string& path, const std::optional<Advertisement>& advertisement) {
  if (adapter_.empty() || !path.starts_with(adapter_ + "/")) return;
  schedule_.hear(monotonicNow());
  if (!std::exchange(provenHere_, true)) address_ = adapters_.at(adapter_).address;
  if (advertisement) options_.onHeard(*advertisement);
}

void BlueZRadio::publish() {
  Status status{.listening = schedule_.isListening(), .fault = fault(), .refused = refused_};
  if (status == status_) return;
  status_ = std::move(status);
  options_.onStatus(status_);
}

std::string BlueZRadio::fault() const {
  const std::string of = options_.adapter.empty() ? "" : " " + options_.adapter;
  const auto served = adapters_.find(adapter_);
  switch (stage_) {
    case Stage::kNoBus:
      return "the system bus cannot be reached; start it (systemctl start dbus)";
    case Stage::kNoDaemon:
      return "the Bluetooth daemon does not run; start it (systemctl start bluetooth)";
    case Stage::kConnecting:
    case Stage::kAsking:
      // What was wrong before stands until it is known to be over.
      return failure_.empty() ? status_.fault : failure_;
    case Stage::kKnown:
      if (served == adapters_.end()) {
        if (monotonicNow() < adaptersDue_) return "";
        return "there is no Bluetooth adapter" + of + "; plug it in, or load its driver";
      }
      if (!served->second.powered) {
        return "the Bluetooth adapter " + adapter_.substr(kAdapterPath.size()) +
               " is off; switch it on (bluetoothctl power on)";
      }
      return failure_;
  }
  return failure_;
}

/// Wakes for what is due first. An earlier wake that was set for something since put off costs less
/// than setting the timer at each frame.
void BlueZRadio::arm() {
  auto due = earlier(reopenAt_, schedule_.deadline());
  if (stage_ == Stage::kKnown && adapter_.empty() && monotonicNow() < adaptersDue_) {
    due = earlier(due, adaptersDue_);
  }
  if (!due || (armed_ && *armed_ <= *due)) return;
  armed_ = due;
  timer_.set(due);
}

void BlueZRadio::log(const std::string& line) const {
  if (options_.log) options_.log->write("Bluetooth: " + line);
}

}  // namespace platform
