// Run by check_live.py: Live on a bus where BlueZ hears a beacon ten times a second, Refused where it will not listen.
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "platform/linux/LinuxLocationService.h"
#include "tests/support/Frames.h"
#include "tests/support/RecordingDelegate.h"

namespace {

using namespace std::chrono_literals;
using namespace platform;

/// A main context of the thread that makes it, as a worker of an application has.
class OwnContext {
 public:
  OwnContext() { g_main_context_push_thread_default(context_); }
  ~OwnContext() {
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
  }
  OwnContext(const OwnContext&) = delete;
  OwnContext& operator=(const OwnContext&) = delete;

  /// Runs it until `done`, asleep unless something wakes it; false when that took too long.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = 20s) const {
    bool over = false;
    const auto end = [](gpointer flag) -> gboolean {
      *static_cast<bool*>(flag) = true;
      return G_SOURCE_CONTINUE;
    };
    GSource* const timer = g_timeout_source_new(static_cast<guint>(limit.count()));
    g_source_set_callback(timer, end, &over, nullptr);
    g_source_attach(timer, context_);
    while (!over && !done()) g_main_context_iteration(context_, TRUE);
    g_source_destroy(timer);
    g_source_unref(timer);
    return done();
  }
  void run(std::chrono::milliseconds time) const {
    runUntil([] { return false; }, time);
  }

 private:
  GMainContext* const context_ = g_main_context_new();
};

/// Monitors and ranges the network, and keeps what it is told.
class Walker {
 public:
  explicit Walker(LinuxLocationService& service) : manager(service.createManager()) {
    delegate->onEach = [this](auto&, const std::string& call) {
      EXPECT_EQ(std::this_thread::get_id(), thread_);
      heard += call + " ";
      if (onEach) onEach(call);
    };
    manager->setDelegate(delegate);
    manager->requestAlwaysAuthorization();
    manager->startMonitoringForRegion(region_);
    manager->startRangingBeaconsInRegion(region_);
  }

  bool has(const std::string& call) const { return heard.find(call) != std::string::npos; }
  void stop() {
    manager->stopMonitoringForRegion(*region_);
    manager->stopRangingBeaconsInRegion(*region_);
  }

  std::string heard;
  std::function<void(const std::string&)> onEach;
  std::shared_ptr<CLLocationManager> manager;
  const std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();

 private:
  const std::thread::id thread_ = std::this_thread::get_id();
  const std::shared_ptr<CLBeaconRegion> region_ = CLBeaconRegion::initWithProximityUUID_identifier(kNetwork, "r");
};

TEST(Live, CallsBackOnTheThreadThatCreatedTheManager) {
  LinuxLocationService service({});
  const auto walk = [&service] {
    const OwnContext context;
    Walker walker(service);
    EXPECT_EQ(walker.heard, "");
    EXPECT_TRUE(context.runUntil([&] { return walker.has("range-60") && walker.has("auth3"); })) << walker.heard;
    EXPECT_TRUE(walker.has("enter state1")) << walker.heard;
    walker.stop();
    walker.heard.clear();
    EXPECT_FALSE(context.runUntil([&] { return !walker.heard.empty(); }, 1500ms)) << walker.heard;
  };
  EXPECT_EQ(service.authorizationStatus(), 0);
  std::thread other(walk);
  walk();
  other.join();
  EXPECT_EQ(service.authorizationStatus(), 3);
}

TEST(Live, SleepsWhileStopped) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer has a thread of its own that does not sleep";
#endif
  const OwnContext context;
  LinuxLocationService service({});
  Walker walker(service);
  ASSERT_TRUE(context.runUntil([&] { return walker.has("range-60"); }));
  walker.stop();
  context.run(500ms);
  const auto waits = [] {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    return used.ru_nvcsw;
  };
  const long before = waits();
  context.run(3s);
  EXPECT_LE(waits() - before, 3);  // ours, and a thread of GLib's that may end
}

TEST(Live, MayBeDroppedInsideEachCallAndInALoopThere) {
  const OwnContext context;
  for (const std::string last : {"auth", "enter", "state", "range", "range loop"}) {
    const bool loops = last.ends_with("loop");
    LinuxLocationService service({});
    Walker walker(service);
    bool inside = false;
    bool dropped = false;
    walker.onEach = [&](const std::string& call) {
      EXPECT_FALSE(dropped) << call;
      if (!call.starts_with(last.substr(0, last.find(' '))) || std::exchange(inside, true)) return;
      if (loops) {
        walker.stop();  // what runs below us is to end
        context.run(300ms);
      }
      walker.manager.reset();
      dropped = true;
      if (loops) context.run(300ms);
    };
    EXPECT_TRUE(context.runUntil([&] { return dropped; })) << last;
    context.run(50ms);
  }
}

TEST(Live, MayBeDroppedOnAnotherThreadAndWithoutALoop) {
  auto context = std::make_unique<OwnContext>();
  auto service = std::make_unique<LinuxLocationService>(LinuxLocationService::Options{});
  auto walker = std::make_unique<Walker>(*service);
  ASSERT_TRUE(context->runUntil([&] { return walker->has("range-60"); }));
  std::thread dropper([&] { walker->manager.reset(); });
  dropper.join();  // nobody runs the context meanwhile
  walker->heard.clear();
  context->run(1200ms);
  EXPECT_EQ(walker->heard, "");

  walker = std::make_unique<Walker>(*service);
  service.reset();  // the managers go on
  std::thread later([&] {
    std::this_thread::sleep_for(50ms);
    walker->manager.reset();
  });
  context->run(200ms);
  later.join();

  LinuxLocationService other({});
  walker = std::make_unique<Walker>(other);
  context.reset();  // has run nothing of it
  walker.reset();
}

TEST(Live, ABlockedApplicationMissesReportsButLeavesNoRegion) {
  const OwnContext context;
  LinuxLocationService service({.live = {.exitPeriod = 2s}});
  Walker walker(service);
  ASSERT_TRUE(context.runUntil([&] { return walker.has("range-60"); }));
  std::this_thread::sleep_for(4s);
  walker.heard.clear();
  EXPECT_TRUE(context.runUntil([&] { return walker.has("range-60"); }));
  context.run(500ms);
  EXPECT_FALSE(walker.has("exit")) << walker.heard;
  EXPECT_LE(walker.heard.size(), std::string("range-60 ").size() * 2) << walker.heard;
}

TEST(Refused, IsToldAsADenialOfTheUsers) {
  const OwnContext context;
  LinuxLocationService service({});
  const Walker walker(service);
  EXPECT_TRUE(context.runUntil([&] { return walker.has("auth2"); })) << walker.heard;
  EXPECT_EQ(service.authorizationStatus(), 2);
}

}  // namespace
