// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "host/Announcer.h"
#include "host/Commands.h"
#include "host/Interrupt.h"
#include "host/Screen.h"
#include "host/Session.h"

namespace host {

void nearest(const NearestOptions& options, Screen& screen) {
  Session session(options.service, {}, screen);
  session.install(locationWithoutSources());
  const Interrupt interrupt([&session] { session.interrupt(); });
  const auto announcer = std::make_shared<Announcer>(
      screen, Announcer::Options{.json = options.service.json, .now = [] { return 0.0; }});
  const auto manager = session.connect(announcer);
  if (!manager) return;
  manager->getNearestAtLat_andLng_insideRadius(options.latitude, options.longitude, options.radius);
  session.waitUntilAnswered();
  if (session.isInterrupted()) return;
  session.failUnlessAnswered("no list of places");
  if (!announcer->printPlaces()) session.failWith("no list of places: its answer cannot be read");
}

}  // namespace host
