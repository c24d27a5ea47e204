// SPDX-License-Identifier: Apache-2.0

// Run by check_live.py: Live on a bus where BlueZ hears a beacon and GeoClue moves, ten times a second, Refused where
// BlueZ will not listen.
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "platform/linux/BlueZRadio.h"
#include "platform/linux/GeoCluePositions.h"
#include "platform/linux/LinuxLocationService.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/NetworkWatch.h"
#include "testing/BeaconFrame.h"
#include "testing/RecordingLocationDelegate.h"
#include "testing/contracts/PositionSourceContract.h"
#include "testing/contracts/RadioContract.h"
#include "tests/support/OwnContext.h"

namespace {

using namespace brivane::testing;
using namespace platform;

/// Monitors and ranges the network, and keeps what it is told.
struct Walker {
  explicit Walker(LinuxLocationService& service) : manager(service.createManager()) {
    delegate->onCall([this, thread = std::this_thread::get_id()](auto&, const std::string& call) {
      EXPECT_EQ(std::this_thread::get_id(), thread);
      heard += call + " ";
    });
    manager->setDelegate(delegate);
    manager->requestAlwaysAuthorization();
    const auto region = CLBeaconRegion::initWithProximityUUID_identifier(networkUUID(), "r");
    manager->startMonitoringForRegion(region);
    manager->startRangingBeaconsInRegion(region);
  }

  bool has(const std::string& call) const { return heard.find(call) != std::string::npos; }

  std::string heard;
  std::shared_ptr<CLLocationManager> manager;
  const std::shared_ptr<RecordingLocationDelegate> delegate = std::make_shared<RecordingLocationDelegate>();
};

TEST(Live, CallsBackOnTheThreadThatCreatedTheManager) {
  LinuxLocationService service({});
  const auto walk = [&service] {
    const OwnContext context;
    const Walker walker(service);
    EXPECT_EQ(walker.heard, "");
    context.runUntil([&] { return walker.has("range-60") && walker.has("auth3"); });
    EXPECT_TRUE(walker.has("enter state1")) << walker.heard;
  };
  EXPECT_EQ(service.authorizationStatus(), 0);
  std::thread other(walk);
  walk();
  other.join();
  EXPECT_EQ(service.authorizationStatus(), 3);
}

TEST(Live, MayBeDroppedOnAnotherThreadAndWithoutALoop) {
  auto context = std::make_unique<OwnContext>();
  LinuxLocationService service({});
  auto walker = std::make_unique<Walker>(service);
  context->runUntil([&] { return walker->has("range-60"); });
  std::thread([&] { walker->manager.reset(); }).join();  // nobody runs the context meanwhile
  walker->heard.clear();
  context->run();
  EXPECT_EQ(walker->heard, "");
  walker = std::make_unique<Walker>(service);
  context.reset();  // has run nothing of it
  walker.reset();
}

TEST(Live, TellsOfAnotherNetworkAndOfWaking) {
  const OwnContext context;
  int changes = 0;
  const NetworkWatch watch([&changes] { ++changes; });
  g_signal_emit_by_name(g_network_monitor_get_default(), "network-changed", TRUE);
  EXPECT_EQ(changes, 1);
  const std::shared_ptr<GDBusConnection> logind(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr), g_object_unref);
  g_bus_own_name_on_connection(logind.get(), "org.freedesktop.login1", G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr,
                               nullptr, nullptr);
  while (changes == 1) {  // until the watch stands
    g_dbus_connection_emit_signal(logind.get(), nullptr, "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                                  "PrepareForSleep", g_variant_new("(b)", FALSE), nullptr);
    g_usleep(20'000);
    context.run();
  }
}

TEST(Refused, IsToldAsADenialOfTheUsers) {
  const OwnContext context;
  LinuxLocationService service({});
  const Walker walker(service);
  context.runUntil([&] { return walker.has("auth2"); });
}

struct BlueZ {
  std::unique_ptr<Radio> create(Radio::Listener& listener) const {
    return std::make_unique<BlueZRadio>(MainContext::ofThisThread(), "", nullptr, listener);
  }
  static Instant now() { return monotonicNow(); }
  void runUntil(const std::function<bool()>& done) const { context.runUntil(done); }
  void runAWhile() const {
    bool over = false;
    Timer timer(MainContext::ofThisThread(), [&over] { over = true; });
    timer.set(now() + std::chrono::milliseconds(400));
    runUntil([&over] { return over; });
  }
  const OwnContext context;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Live, RadioContract, BlueZ);

struct GeoClue : BlueZ {
  std::unique_ptr<PositionSource> create(PositionSource::Listener& listener) const {
    return std::make_unique<GeoCluePositions>(MainContext::ofThisThread(), "org.example.Walk", listener);
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Live, PositionSourceContract, GeoClue);

}  // namespace
