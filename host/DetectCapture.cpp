// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "guidance/Sentences.h"
#include "host/Announcer.h"
#include "host/Commands.h"
#include "host/Detection.h"
#include "host/Interrupt.h"
#include "host/Replay.h"
#include "host/Screen.h"
#include "host/Session.h"
#include "host/VoiceOption.h"

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

}  // namespace

void detectCapture(const DetectOptions& options, Screen& screen) {
  const auto speech = speechFor(options.speak, screen);
  Session session(options.service, {.inOrder = !options.source.speed.has_value()}, screen);
  std::optional<Detection> detection;
  const auto renew = [&detection] {
    if (detection) detection->renewIfDue();
  };
  ReplayLocationService::Options recording;
  recording.capture = options.source.capture;
  recording.track = options.track;
  recording.speed = options.source.speed;
  recording.waitUntilIdle = [&] {
    session.waitUntilAnswered();
    renew();
  };
  recording.onProgress = [&, show = progressOn(screen)](double fraction) {
    renew();
    show(fraction);
  };
  recording.onCut = cutsOn(screen);
  const auto replay = std::make_shared<ReplayLocationService>(std::move(recording));
  session.install(replay);
  const Interrupt interrupt([&] {
    if (speech) speech->stop();
    replay->stop();
    session.interrupt();
  });
  const auto announcer = std::make_shared<Announcer>(
      screen, Announcer::Options{.json = options.service.json,
                                 .all = options.all,
                                 .now = [replay] { return secondsOf(replay->now()); },
                                 .speech = speech.get(),
                                 .language = guidance::networkLanguage()});
  detection.emplace(session, screen, announcer, options.gps);
  if (!detection->connect()) return;
  detection->start();
  try {
    play(*replay, options.source);
  } catch (...) {  // a fault in the capture is told after all that came before it
    session.waitUntilAnswered();
    throw;
  }
  session.waitUntilAnswered();
  detection->stop();
  if (!options.service.json) screen.print(announcer->summary());
  detection->failIfRequestsFailed();
}

}  // namespace host
