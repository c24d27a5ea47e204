// A frame heard live, from the signal on the bus to the ranging state; beside it, GDBus that
// delivers the same signal to an empty handler. Measured is the processor time of this process,
// with all its threads. Needs bench/Radio.cpp on the system bus.
#include <benchmark/benchmark.h>
#include <gio/gio.h>
#include <sys/resource.h>

#include <functional>
#include <memory>

#include "bench/RadioCall.h"
#include "bench/Services.h"
#include "bench/Walker.h"
#include "platform/linux/LinuxLocationService.h"

namespace {

constexpr unsigned kFrames = 5000;

double processorSeconds() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

void runUntil(const std::function<bool()>& done) {
  while (!done()) g_main_context_iteration(nullptr, TRUE);
}

GDBusConnection* connection() {
  static GDBusConnection* const only = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  return only;
}

/// Has the radio hear, and waits until `heard` has counted it all.
void measure(benchmark::State& state, const unsigned& heard) {
  bench::hear(connection(), 1);  // all is set up when the first has come
  runUntil([&heard] { return heard == 1; });
  unsigned expected = heard;
  for (auto _ : state) {
    expected += kFrames;
    const double before = processorSeconds();
    bench::hear(connection(), kFrames);
    runUntil([&] { return heard == expected; });
    state.SetIterationTime(processorSeconds() - before);
  }
  state.SetItemsProcessed(state.iterations() * kFrames);
}

void live(benchmark::State& state) {
  unsigned heard = 0;
  bool listens = false;
  platform::LinuxLocationService service(
      {.live = {.onRadio = [&listens](const auto& status) { listens = status.listening; },
                .onAdvertisement = [&heard](const auto& /*frame*/) { ++heard; }}});
  const auto walker = std::make_shared<bench::Walker>();
  const auto manager = service.createManager();
  manager->setDelegate(walker);
  const auto region = platform::CLBeaconRegion::initWithProximityUUID_identifier(
      bench::beacon(0).proximityUUID, "network");
  manager->startMonitoringForRegion(region);
  manager->startRangingBeaconsInRegion(region);
  runUntil([&listens] { return listens; });
  measure(state, heard);
}

void onSignal(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
              const gchar* /*interface*/, const gchar* /*signal*/, GVariant* /*arguments*/,
              gpointer heard) {
  ++*static_cast<unsigned*>(heard);
}

void deliver(benchmark::State& state) {
  unsigned heard = 0;
  const guint subscription = g_dbus_connection_signal_subscribe(
      connection(), "org.bluez", "org.freedesktop.DBus.Properties", "PropertiesChanged", nullptr,
      "org.bluez.Device1", G_DBUS_SIGNAL_FLAGS_NONE, onSignal, &heard, nullptr);
  measure(state, heard);
  g_dbus_connection_signal_unsubscribe(connection(), subscription);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RegisterBenchmark("Live", live)->UseManualTime()->Iterations(2);
  benchmark::RegisterBenchmark("Deliver", deliver)->UseManualTime()->Iterations(2);
  benchmark::RunSpecifiedBenchmarks();
}
