// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "platform/Export.h"
#include "platform/JSON.h"
#include "platform/Services.h"
#include "platform/location/Advertisement.h"
#include "platform/location/Instant.h"
#include "platform/location/LiveLocationService.h"
#include "testing/FixedPropertyList.h"
#include "testing/Journal.h"
#include "testing/MemoryPreferences.h"
#include "testing/ScriptedHTTPClient.h"
#include "testing/VirtualLoop.h"
#include "testing/VirtualPositions.h"
#include "testing/VirtualRadio.h"

namespace brivane::testing {

/// A phone on which a host's code runs in a test: nothing on it is real, and everything happens
/// when the test says so, on the thread that says it.
///
/// A new phone has never run the library: the state of earlier ones is forgotten when it is made
/// and when it goes (`beginAnew`, which says what must hold). One at a time.
///
///   brivane::testing::Phone phone;
///   platform::install(phone.services(json));
///   const auto manager = BVManager::initWithDelegate(host);
///   phone.advance(1s);        // logged in and ready
///   manager->startDetection();
///   phone.http->script("resolve/", {R"({"match":"door"})"});
///   phone.advance(3s, {networkFrame(1, 2, -60)});  // past a beacon: the host hears of a match
class BRIVANE_EXPORT Phone {
 public:
  /// The service lets everybody in: login and sync are scripted. The user permits everything.
  Phone();
  /// Managers must be gone. Requests that wait fail.
  ~Phone();
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;

  /// What to install; a test that wants another service in one place replaces that. `json` is the
  /// host's. Lines of the library's log go to the journal; a test that has no use for them sets
  /// `log` to null.
  platform::Services services(std::shared_ptr<platform::JSON> json) const;

  /// Lets time pass, in steps of a tenth of a second. At each step replies that are scripted arrive
  /// and everything `onAir` is heard once more.
  void advance(platform::Duration time, const std::vector<platform::Advertisement>& onAir = {});

  /// Requests, the library's log, and what else a test gives it to.
  const std::shared_ptr<Journal> journal;
  /// Its network; what it answers beyond login and sync, the test scripts.
  const std::shared_ptr<ScriptedHTTPClient> http;
  /// What the application keeps; empty at first.
  const std::shared_ptr<MemoryPreferences> preferences;
  /// The application's property list, complete at first.
  const std::shared_ptr<FixedPropertyList> propertyList;
  /// Its event loop and its clock, which `advance` runs.
  const std::shared_ptr<VirtualLoop> loop;
  /// Its Bluetooth, for a test that takes it away.
  VirtualRadio radio;
  /// Its positions, for a test that moves the device or has the user deny them.
  VirtualPositions positions;
  /// Its location service, over the three above.
  const std::shared_ptr<platform::LiveLocationService> location;
};

}  // namespace brivane::testing
