#include <memory>

#include "host/Announcer.h"
#include "host/Commands.h"
#include "host/Failure.h"
#include "host/Interrupt.h"
#include "host/MainLoop.h"
#include "host/Radio.h"
#include "host/Screen.h"
#include "host/Session.h"
#include "host/Stopwatch.h"

namespace host {

void detectLive(const DetectOptions& options) {
  Screen screen;
  const MainLoop loop;
  const Stopwatch stopwatch;
  Session session(options.service, {.loop = &loop});
  Radio radio(screen, {.live = options.source.live,
                       .positions = options.gps,
                       .log = options.service.log,
                       .onAdvertisement = nullptr});
  session.install(radio.service());
  const Interrupt interrupt([&] { session.interrupt(); });
  const auto announcer = std::make_shared<Announcer>(
      screen, Announcer::Options{.json = options.service.json,
                                 .all = options.all,
                                 .now = [stopwatch] { return stopwatch.seconds(); }});
  const auto manager = session.connect(announcer);
  if (!manager) return;
  radio.failUnlessAuthorized();
  manager->setEnabledGPS(options.gps);
  if (!manager->startDetection()) throw Failure(kServiceFailure, "detection did not start");
  loop.runUntil([&] { return session.isInterrupted() || radio.isUseless(); }, options.source.limit);
  manager->stopDetection();
  radio.failIfUseless();
  if (!session.isInterrupted()) session.waitUntilAnswered();
  if (!options.service.json) screen.print(announcer->summary());
}

}  // namespace host
