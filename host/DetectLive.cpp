// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <optional>

#include "guidance/Sentences.h"
#include "host/Announcer.h"
#include "host/Commands.h"
#include "host/Detection.h"
#include "host/Interrupt.h"
#include "host/MainLoop.h"
#include "host/Radio.h"
#include "host/Screen.h"
#include "host/Session.h"
#include "host/Stopwatch.h"
#include "host/VoiceOption.h"
#include "platform/linux/NetworkWatch.h"

namespace host {
namespace {

std::optional<double> earlier(std::optional<double> a, std::optional<double> b) {
  return a && b ? std::min(*a, *b) : a ? a : b;
}

}  // namespace

void detectLive(const DetectOptions& options, Screen& screen) {
  const MainLoop loop;
  const Stopwatch stopwatch;
  const auto speech = speechFor(options.speak, screen);
  Session session(options.service, {.loop = &loop}, screen);
  Radio radio(screen, {.live = options.source.live,
                       .positions = options.gps,
                       .log = options.service.log,
                       .onAdvertisement = nullptr});
  session.install(radio.service());
  const platform::NetworkWatch network([&] { session.networkChanged(); });
  const Interrupt interrupt([&] {
    if (speech) speech->stop();
    session.interrupt();
  });
  const auto announcer = std::make_shared<Announcer>(
      screen, Announcer::Options{.json = options.service.json,
                                 .all = options.all,
                                 .now = [stopwatch] { return stopwatch.seconds(); },
                                 .speech = speech.get(),
                                 .language = guidance::networkLanguage()});
  Detection detection(session, screen, announcer, options.gps);
  if (!detection.connect()) return;
  radio.failUnlessAuthorized();
  detection.start();
  const Stopwatch sinceStart;
  // A denial may come late, or be made late: it ends detection whenever it comes.
  const auto isOver = [&] {
    return session.isInterrupted() || radio.isUseless() || radio.isDenied();
  };
  const auto left = [&]() -> std::optional<double> {
    if (!options.source.limit) return std::nullopt;
    return std::max(*options.source.limit - sinceStart.seconds(), 0.0);
  };
  while (!isOver() && left() != 0.0) {
    const auto planned = session.renewal();
    const auto isOverOrDue = [&] {
      return isOver() || detection.isRenewalDue() || session.renewal() != planned;
    };
    loop.runUntil(isOverOrDue, earlier(left(), detection.secondsToRenewal()));
    if (!isOver()) detection.renewIfDue();
  }
  detection.stop();
  radio.failIfUseless();
  if (radio.isDenied()) radio.failUnlessAuthorized();
  if (!session.isInterrupted()) session.waitUntilAnswered();
  if (!options.service.json) screen.print(announcer->summary());
  detection.failIfRequestsFailed();
}

}  // namespace host
