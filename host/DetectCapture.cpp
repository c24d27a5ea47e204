#include <functional>
#include <memory>
#include <string>

#include "host/Announcer.h"
#include "host/Commands.h"
#include "host/Failure.h"
#include "host/Interrupt.h"
#include "host/Replay.h"
#include "host/Screen.h"
#include "host/Session.h"

namespace host {
namespace {

using platform::ReplayLocationService;

/// Shows how much of a capture has been played, whenever the whole percentage changes.
std::function<void(double)> progressOn(Screen& screen) {
  return [&screen, shown = -1](double fraction) mutable {
    const int percent = static_cast<int>(fraction * 100.0);
    if (percent == shown) return;
    shown = percent;
    screen.showProgress(std::to_string(percent) + " % of the capture");
  };
}

std::shared_ptr<ReplayLocationService> openReplay(const DetectOptions& options,
                                                  const Session& session, Screen& screen) {
  ReplayLocationService::Options replay;
  replay.capture = options.source.capture;
  replay.track = options.track;
  replay.speed = options.source.speed;
  replay.waitUntilIdle = [&session] { session.waitUntilAnswered(); };
  replay.onProgress = progressOn(screen);
  return std::make_shared<ReplayLocationService>(std::move(replay));
}

}  // namespace

void detectCapture(const DetectOptions& options) {
  Screen screen;
  Session session(options.service, {.inOrder = !options.source.speed.has_value()});
  const auto replay = openReplay(options, session, screen);
  session.install(replay);
  const Interrupt interrupt([&] {
    replay->stop();
    session.interrupt();
  });
  const auto announcer = std::make_shared<Announcer>(
      screen, Announcer::Options{.json = options.service.json, .all = options.all, .now = [replay] {
                                   return secondsOf(replay->now());
                                 }});
  const auto manager = session.connect(announcer);
  if (!manager) return;
  manager->setEnabledGPS(options.gps);
  if (!manager->startDetection()) throw Failure(kServiceFailure, "detection did not start");
  try {
    play(*replay, options.source);
  } catch (...) {  // a fault in the capture is told after all that came before it
    session.waitUntilAnswered();
    throw;
  }
  session.waitUntilAnswered();
  manager->stopDetection();
  if (!options.service.json) screen.print(announcer->summary());
}

}  // namespace host
