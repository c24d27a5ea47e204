// SPDX-License-Identifier: Apache-2.0

// How it works
//
// BlueZConnection leads to the daemon and calls the functions whose names begin with "on": what
// adapters and devices there are, what becomes of them, and when none of that holds any more.
// AdapterChoice says which adapter serves; useAdapter takes it into use when that has changed.
// DiscoverySchedule says which call is due: filter, start, stop, or a new connection. At most one
// is under way; its answer comes to `finish`, and proceed() asks for the next.
//
// There are three ways to listen, and chooseWay() turns from one to another. Where every frame is
// wanted, a discovery runs, changes of all devices are told, and BlueZMonitor stands beside it
// where the adapter offers monitors. While a first beacon is waited for, an active monitor does
// alone; without one the discovery runs, and BlueZWatch looks at what it finds. Neither needs the
// changes of all devices.
//
// All of it runs on one thread, from the main context alone. The listener is called from two
// places, publish() and hear(), each the last thing that its caller does apart from setting the
// timer: the listener may close this there. What happened to an adapter that is not in use any
// more is never taken for the news of the one that is: that is what the epoch is for.

#include "platform/linux/BlueZListening.h"

#include <glib.h>

#include <utility>

#include "platform/linux/RadioFault.h"

namespace platform {
namespace {

using namespace std::chrono_literals;

/// BlueZ answers the calls of a discovery at once, or as soon as its controller does.
constexpr std::chrono::milliseconds kPatience = 3s;
/// A daemon that has just started finds its adapters one by one.
constexpr Duration kAdapterGrace = 2s;

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

void readFlag(GVariant* properties, const char* name, bool& flag) {
  gboolean value = FALSE;
  if (g_variant_lookup(properties, name, "b", &value) != FALSE) flag = value != FALSE;
}

/// Takes over the properties (a{sv}) that are named.
void read(GVariant* properties, BlueZAdapter& adapter) {
  const gchar* address = nullptr;
  if (g_variant_lookup(properties, "Address", "&s", &address) != FALSE) adapter.address = address;
  readFlag(properties, "Powered", adapter.powered);
  readFlag(properties, "Discovering", adapter.discovering);
}

Variant interfaceIn(GVariant* interfaces, const char* name) {
  return Variant(g_variant_lookup_value(interfaces, name, G_VARIANT_TYPE_VARDICT));
}

}  // namespace

BlueZListening::BlueZListening(MainContext context, Options options)
    : context_(std::move(context)),
      options_(std::move(options)),
      timer_(context_,
             [this] {
               armed_.reset();
               proceed();
             }),
      adapters_(options_.adapter),
      everyFrame_(options_.wanted.everyFrame),
      connection_(context_, *this) {}

void BlueZListening::close() {
  closed_ = true;
  connection_.close();
  timer_.set(std::nullopt);
}

bool BlueZListening::goOn(const Radio::Wanted& wanted) {
  if (closed_ || wanted.networks != options_.wanted.networks) return false;
  everyFrame_ = wanted.everyFrame;
  chooseWay();
  armed_ = monotonicNow();
  timer_.set(armed_);  // nothing is told from inside this call
  return true;
}

void BlueZListening::onForgotten() {
  ++epoch_;
  watch_.reset();
  monitor_.reset();
  discovers_ = false;
  adapters_.removeAll();
  devices_.forgetAll();
  adapter_.clear();
  powered_ = false;
  failure_.clear();
  schedule_.setUsable(false, monotonicNow());
}

void BlueZListening::onStage() {
  using Stage = BlueZConnection::Stage;
  const Stage stage = connection_.stage();
  if (stage == Stage::kNoBus) log("the system bus: " + connection_.reason());
  if (stage != Stage::kConnecting && stage != Stage::kAsking) refused_ = connection_.isRefused();
  if (stage == Stage::kKnown) adaptersDue_ = monotonicNow() + kAdapterGrace;
  useAdapter();
  proceed();
}

void BlueZListening::onObject(const std::string& path, GVariant* interfaces) {
  if (const Variant its = interfaceIn(interfaces, BlueZConnection::kAdapter)) {
    read(its.get(), adapters_.at(path));
  }
  BlueZAdapter* const adapter = adapters_.find(path);
  if (adapter != nullptr && interfaceIn(interfaces, BlueZConnection::kMonitorManager)) {
    adapter->offersMonitor = true;
  }
  if (const Variant its = interfaceIn(interfaces, BlueZConnection::kDevice)) {
    devices_.know(path, its.get());
  }
}

void BlueZListening::onNewObject(const std::string& path, GVariant* interfaces) {
  if (const Variant device = interfaceIn(interfaces, BlueZConnection::kDevice)) {
    const auto advertisement = devices_.find(path, device.get());
    if (BlueZDevices::isSighting(device.get())) hear(path, advertisement);
    return;
  }
  onObject(path, interfaces);
  useAdapter();
  proceed();
}

void BlueZListening::onRemoved(const std::string& path, const gchar* const* interfaces) {
  if (g_strv_contains(interfaces, BlueZConnection::kDevice) != FALSE) devices_.forget(path);
  if (g_strv_contains(interfaces, BlueZConnection::kAdapter) == FALSE) return;
  adapters_.remove(path);
  useAdapter();
  proceed();
}

void BlueZListening::onAdapterChanged(const std::string& path, GVariant* changed) {
  BlueZAdapter* const adapter = adapters_.find(path);
  if (adapter == nullptr) return;
  const bool before = adapter->discovering;
  read(changed, *adapter);
  if (path == adapter_ && adapter->discovering != before) {
    schedule_.setDiscovering(adapter->discovering, monotonicNow());
  }
  useAdapter();
  proceed();
}

void BlueZListening::onDeviceChanged(const std::string& path, GVariant* changed,
                                     GVariant* invalidated) {
  const auto advertisement = devices_.change(path, changed, invalidated);
  if (BlueZDevices::isSighting(changed)) hear(path, advertisement);
}

void BlueZListening::useAdapter() {
  const std::string path = adapters_.choose();
  const BlueZAdapter* const adapter = adapters_.find(path);
  const bool powered = adapter != nullptr && adapter->powered;
  if (path == adapter_ && powered == powered_) return;
  ++epoch_;
  adapter_ = path;
  powered_ = powered;
  proven_ = false;
  failure_.clear();
  watch_.reset();
  monitor_.reset();
  discovers_ = false;
  schedule_.setUsable(false, monotonicNow());
  chooseWay();
  if (discovers_ && adapter->offersMonitor) startMonitor();
}

void BlueZListening::chooseWay() {
  const Instant now = monotonicNow();
  const bool usable = powered_ && !options_.wanted.networks.empty();
  const bool monitorSuffices = hasMonitor() && !everyFrame_;
  const bool discovered = std::exchange(discovers_, usable && !monitorSuffices);
  if (discovers_ != discovered) schedule_.setUsable(discovers_, now);
  if (discovers_ && !discovered) {
    schedule_.setDiscovering(adapters_.at(adapter_).discovering, now);
  } else if (usable && discovered && !discovers_) {
    failure_.clear();
    stopDiscovery();
  }
  connection_.tellOfAllDevices(everyFrame_);
  const bool watches = discovers_ && !everyFrame_;
  if (!watches) watch_.reset();
  if (!watches || watch_) return;
  watch_ = std::make_unique<BlueZWatch>(
      connection_, context_, devices_, options_.wanted.networks,
      [this](bool heard, const BlueZWatch::Beacons& beacons) { onLooked(heard, beacons); });
}

void BlueZListening::stopDiscovery() {
  call("StopDiscovery", nullptr, [](const BusReply&) {});
}

void BlueZListening::startMonitor() {
  monitor_ = std::make_unique<BlueZMonitor>(
      connection_.bus(), context_, connection_.daemon(), adapter_, options_.wanted.networks,
      BlueZMonitor::Events{.activated =
                               [this] {
                                 chooseWay();
                                 proceed();
                               },
                           .ended =
                               [this](const std::string& reason) {
                                 log("no advertisement monitor, discovery goes on alone: " +
                                     reason);
                                 chooseWay();
                                 proceed();
                               },
                           .found = [this](const std::string& path) { onMonitor(path); }});
}

/// The monitor names the device alone. A discovery tells more by itself.
void BlueZListening::onMonitor(const std::string& path) {
  if (discovers_) return;
  connection_.askForDevice(path, [this, path, epoch = epoch_](const BusReply& reply) {
    if (!reply.value || epoch != epoch_) return;
    const Variant device(g_variant_get_child_value(reply.value.get(), 0));
    if (const auto beacon = devices_.find(path, device.get())) hear(path, beacon);
  });
}

void BlueZListening::onLooked(bool heard, const BlueZWatch::Beacons& beacons) {
  if (heard) schedule_.hear(monotonicNow());
  for (const auto& [path, beacon] : beacons) {
    if (!closed_) hear(path, beacon);
  }
}

void BlueZListening::proceed() {
  if (const auto call = schedule_.next(monotonicNow())) perform(*call);
  publish();
  if (!closed_) arm();
}

void BlueZListening::perform(DiscoverySchedule::Call call) {
  using Call = DiscoverySchedule::Call;
  if (call == Call::kRenewConnection) {
    log("the connection is renewed");
    connection_.renew();
    return;
  }
  if (call == Call::kStop) log("nothing is heard, discovery is renewed");
  const char* const method = call == Call::kSetFilter ? "SetDiscoveryFilter"
                             : call == Call::kStart   ? "StartDiscovery"
                                                      : "StopDiscovery";
  this->call(method, call == Call::kSetFilter ? filter() : nullptr,
             [this, call, epoch = epoch_](const BusReply& reply) {
               if (epoch == epoch_) finish(call, reply);
             });
}

void BlueZListening::call(const char* method, GVariant* arguments,
                          std::function<void(const BusReply&)> answered) {
  connection_.bus().call({.destination = connection_.daemon().c_str(),
                          .path = adapter_,
                          .interface = BlueZConnection::kAdapter,
                          .method = method,
                          .arguments = arguments,
                          .timeout = kPatience},
                         std::move(answered));
}

void BlueZListening::finish(DiscoverySchedule::Call call, const BusReply& reply) {
  using Outcome = DiscoverySchedule::Outcome;
  const Outcome outcome = outcomeOf(reply);
  const bool fails = outcome == Outcome::kRefused || outcome == Outcome::kFailed;
  const bool starts = call == DiscoverySchedule::Call::kStart && outcome == Outcome::kDone;
  if (call != DiscoverySchedule::Call::kStop && (fails || starts)) {
    failure_ = fails ? reply.message : "";
    refused_ = outcome == Outcome::kRefused;
  }
  if (starts && !discovers_) stopDiscovery();  // BlueZ refuses that while it is starting
  schedule_.finish(outcome, monotonicNow());
  proceed();
}

void BlueZListening::hear(const std::string& path,
                          const std::optional<Advertisement>& advertisement) {
  if (adapter_.empty() || !path.starts_with(adapter_ + "/")) return;
  schedule_.hear(monotonicNow());
  if (!std::exchange(proven_, true)) adapters_.prove(adapter_);
  if (advertisement) options_.listener.radioHeard(*advertisement, monotonicNow());
}

void BlueZListening::publish() {
  const bool isAlone = hasMonitor() && failure_.empty() && !schedule_.isStuck();
  const bool listening = schedule_.isListening() || isAlone;
  const RadioFault wrong = listening ? RadioFault{} : fault();
  Radio::Status status{listening, wrong.kind, wrong.text, refused_};
  if (status == status_) return;
  status_ = std::move(status);
  options_.listener.radioChanged(status_);
}

RadioFault BlueZListening::fault() const {
  using Stage = BlueZConnection::Stage;
  const Stage stage = connection_.stage();
  // What was wrong before stands until it is known to be over.
  if (stage == Stage::kConnecting || stage == Stage::kAsking) {
    return {status_.kind, status_.fault};
  }
  const std::string name = adapter_.substr(adapter_.rfind('/') + 1);
  return faultOf({.stage = stage,
                  .reason = connection_.reason(),
                  .wanted = options_.adapter,
                  .adapter = name,
                  .powered = powered_,
                  .block = powered_ ? RadioBlock::kNone : radioBlockOf(name),
                  .mayFindAdapters = monotonicNow() < adaptersDue_,
                  .failure = failure_,
                  .isStuck = schedule_.isStuck()});
}

/// Wakes for what is due first. An earlier wake that was set for something since put off costs less
/// than setting the timer at each frame.
void BlueZListening::arm() {
  auto due = schedule_.deadline();
  if (connection_.stage() == BlueZConnection::Stage::kKnown && adapter_.empty() &&
      monotonicNow() < adaptersDue_) {
    due = earlier(due, adaptersDue_);
  }
  if (!due || (armed_ && *armed_ <= *due)) return;
  armed_ = due;
  timer_.set(due);
}

void BlueZListening::log(const std::string& line) const {
  if (options_.log) options_.log->write("Bluetooth: " + line);
}

}  // namespace platform
