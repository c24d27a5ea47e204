// SPDX-License-Identifier: Apache-2.0

// The smallest host that listens: names the places that this machine is near, until Ctrl-C.
//
// usage: live INFO.plist [HOST:PORT CA.pem]

#include <BrivaneSDK/BrivaneSDK.h>
#include <glib-unix.h>
#include <platform/curl/CurlHTTPClient.h>
#include <platform/files/KeyFilePreferences.h>
#include <platform/files/PlistPropertyList.h>
#include <platform/json/SimdJSON.h>
#include <platform/linux/LinuxLocationService.h>
#include <platform/linux/NetworkWatch.h>
#include <platform/posix/SystemRandomUUID.h>
#include <platform/posix/UnameDeviceModel.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

namespace {

void complain(const std::string& fault) {
  if (!fault.empty()) std::fprintf(stderr, "live: %s\n", fault.c_str());
}

class Host : public BVManagerDelegate {
 public:
  std::shared_ptr<BVManager> manager;

  // It may come before there is a manager to start, and on another thread: the loop starts it.
  void didIsReady() override {
    const auto start = [](gpointer host) -> gboolean {
      static_cast<Host*>(host)->manager->startDetection();
      return G_SOURCE_REMOVE;
    };
    g_idle_add(start, this);
  }
  void didErrorFound(const std::shared_ptr<const BVError>& error) override {
    complain(error->errorString().value_or("positions are off"));
  }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    const auto name = match->waybeacon()->name();
    if (!name) return;  // the service refused, for instance because the token has expired
    std::printf("%s\n", name->c_str());
    std::fflush(stdout);
  }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>&) override {}
};

gboolean quit(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;
}

void listen(const char* info, const std::string& connectTo, const std::string& certificates) {
  auto http = std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
      .connectTo = connectTo,
      .caFile = certificates,
      .onTransfer = [](const platform::TransferOutcome& outcome) {
        if (outcome.status.value_or(0) == 200) return;
        complain("the service: " +
                 (outcome.status ? "status " + std::to_string(*outcome.status) : outcome.fault));
      }});
  auto location =
      std::make_shared<platform::LinuxLocationService>(platform::LinuxLocationService::Options{
          .live = {.onRadio = [](const platform::Radio::Status& status) { complain(status.fault); },
                   .onPermission = [](const platform::Permission&,
                                      const std::string& reason) { complain(reason); }}});
  platform::install({.http = http,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<platform::KeyFilePreferences>(
                         platform::KeyFilePreferences::pathFor("org.example.live")),
                     .propertyList = std::make_shared<platform::PlistPropertyList>(info),
                     .location = location,
                     .deviceModel = std::make_shared<platform::UnameDeviceModel>(),
                     .randomUUID = std::make_shared<platform::SystemRandomUUID>()});
  auto host = std::make_shared<Host>();
  host->manager = BVManager::initWithDelegate(host);
  const platform::NetworkWatch watch([http] { http->networkChanged(); });
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  g_unix_signal_add(SIGINT, quit, loop);
  g_main_loop_run(loop);
  host->manager->stopDetection();
  http->shutdown();
  host->manager.reset();
  g_main_loop_unref(loop);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    std::fprintf(stderr, "usage: live INFO.plist [HOST:PORT CA.pem]\n");
    return 2;
  }
  const bool isElsewhere = argc == 4;
  try {
    listen(argv[1],
           isElsewhere ? std::string(BVNetwork::apiHost()) + ":443:" + argv[2] : std::string(),
           isElsewhere ? argv[3] : "");
    return 0;
  } catch (const std::exception& fault) {  // a file that cannot be read, or lacks the credentials
    complain(fault.what());
    return 2;
  }
}
