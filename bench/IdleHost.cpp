// A live host that does nothing for a while, so that somebody can look at what it does: says "idle"
// when it could start detection; at a line on standard input it starts, waits for a match, stops
// and says "stopped"; at another line it ends. Needs bench/Radio.cpp on the system bus.
//
// usage: IdleHost INFO.plist HOST:PORT CA.pem
#include <glib-unix.h>

#include <cstdio>
#include <memory>
#include <string>

#include "bench/RadioCall.h"
#include "bench/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/linux/LinuxLocationService.h"

namespace {

constexpr guint kMillisecondsBetweenFrames = 100;
constexpr unsigned kFrames = 20;

void say(const char* what) {
  std::printf("%s\n", what);
  std::fflush(stdout);
}

/// Both come on any thread.
class Host final : public bench::Host {
 public:
  Host(GSourceFunc onReady, GSourceFunc onMatch) : onReady_(onReady), onMatch_(onMatch) {}

  void didIsReady() override { g_idle_add(onReady_, nullptr); }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override {
    g_idle_add(onMatch_, nullptr);
  }

 private:
  const GSourceFunc onReady_;
  const GSourceFunc onMatch_;
};

std::shared_ptr<BVManager> manager;
GMainLoop* loop = nullptr;
guint frames = 0;  // the timer of the radio, while detection runs
bool stopped = false;

gboolean hear(gpointer bus) {
  bench::hear(static_cast<GDBusConnection*>(bus), kFrames);
  return G_SOURCE_CONTINUE;
}

gboolean onMatch(gpointer /*data*/) {
  if (stopped) return G_SOURCE_REMOVE;
  stopped = true;
  g_source_remove(frames);
  manager->stopDetection();
  say("stopped");
  return G_SOURCE_REMOVE;
}

gboolean onReady(gpointer /*data*/) {
  say("idle");
  return G_SOURCE_REMOVE;
}

gboolean onLine(gint input, GIOCondition /*condition*/, gpointer bus) {
  char line[16];
  if (stopped || read(input, static_cast<char*>(line), sizeof line) <= 0) {
    g_main_loop_quit(loop);
    return G_SOURCE_REMOVE;
  }
  manager->startDetection();
  frames = g_timeout_add(kMillisecondsBetweenFrames, hear, bus);
  return G_SOURCE_CONTINUE;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const auto http = std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
      .connectTo = std::string(BVNetwork::apiHost()) + ":443:" + argv[2], .caFile = argv[3]});
  platform::install({.http = http,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<platform::KeyFilePreferences>(
                         platform::KeyFilePreferences::pathFor("brivane-bench")),
                     .propertyList = std::make_shared<platform::PlistPropertyList>(argv[1]),
                     .location = std::make_shared<platform::LinuxLocationService>(
                         platform::LinuxLocationService::Options{}),
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
  GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  loop = g_main_loop_new(nullptr, FALSE);
  g_unix_fd_add(0, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onLine, bus);
  manager = BVManager::initWithDelegate(std::make_shared<Host>(onReady, onMatch));
  g_main_loop_run(loop);
  manager.reset();
  http->shutdown();
}
