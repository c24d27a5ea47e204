// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <memory>
#include <utility>

#include "host/BeaconTable.h"
#include "host/Commands.h"
#include "host/Interrupt.h"
#include "host/MainLoop.h"
#include "host/NetworkRegion.h"
#include "host/Radio.h"
#include "host/Replay.h"
#include "host/Screen.h"
#include "host/Stopwatch.h"

namespace host {
namespace {

using platform::ReplayLocationService;

/// Ranges the network's region on a location service, until it goes.
std::shared_ptr<platform::CLLocationManager> range(platform::LocationService& location,
                                                   const std::shared_ptr<BeaconTable>& table) {
  const auto region = networkRegion();
  auto manager = location.createManager();
  manager->setDelegate(table);
  manager->startMonitoringForRegion(region);
  manager->startRangingBeaconsInRegion(region);
  return manager;
}

void scanLive(const ScanOptions& options, Screen& screen) {
  const MainLoop loop;
  std::atomic<bool> interrupted = false;
  Radio radio(screen,
              {.live = options.source.live, .log = options.log, .onAdvertisement = nullptr});
  const Interrupt interrupt([&] {
    interrupted = true;
    loop.wake();
  });
  const auto table = std::make_shared<BeaconTable>(
      screen, BeaconTable::Options{.json = options.json,
                                   .now = [watch = Stopwatch()] { return watch.seconds(); }});
  const auto manager = range(*radio.service(), table);
  loop.runUntil([&] { return interrupted || radio.isUseless(); }, options.source.limit);
  radio.failIfUseless();
  table->finish();
}

void scanCapture(const ScanOptions& options, Screen& screen) {
  ReplayLocationService::Options replayed;
  replayed.capture = options.source.capture;
  replayed.speed = options.source.speed;
  replayed.onCut = cutsOn(screen);
  ReplayLocationService replay(std::move(replayed));
  const Interrupt interrupt([&] { replay.stop(); });
  const auto table = std::make_shared<BeaconTable>(
      screen, BeaconTable::Options{.json = options.json,
                                   .now = [&replay] { return secondsOf(replay.now()); }});
  const auto manager = range(replay, table);
  play(replay, options.source);
  table->finish();
}

}  // namespace

void scan(const ScanOptions& options, Screen& screen) {
  if (options.source.capture.empty()) {
    scanLive(options, screen);
  } else {
    scanCapture(options, screen);
  }
}

}  // namespace host
