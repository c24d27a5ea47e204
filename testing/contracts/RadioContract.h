// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

#include "platform/location/IBeaconFrame.h"
#include "platform/location/Instant.h"
#include "platform/location/Radio.h"
#include "testing/BeaconFrame.h"

namespace brivane::testing {

/// What platform/location/Radio.h promises. `Harness` has a loop of the thread that makes it, and
/// an adapter that works; a beacon of the network is in range, and says so again and again:
///
///   std::unique_ptr<platform::Radio> create(platform::Radio::Listener& listener);
///   /// The time on the loop's clock.
///   platform::Instant now();
///   /// Runs the loop until `done`, which becomes true inside a call of the radio's.
///   void runUntil(const std::function<bool()>& done);
///   /// Runs it for as long as the beacon needs to be heard several times.
///   void runAWhile();
template <typename Harness>
class RadioContract : public ::testing::Test, public platform::Radio::Listener {
 protected:
  using Radio = platform::Radio;

  void radioHeard(const platform::Advertisement& advertisement, platform::Instant time) override {
    EXPECT_TRUE(mayCall);
    EXPECT_LE(time, harness.now());
    EXPECT_GE(time, began);
    const auto frame = platform::IBeaconFrame::parse(advertisement);
    if (!frame || frame->proximityUUID != networkUUID()) return;
    ++heard;
    onHeard();
  }
  void radioChanged(const Radio::Status& status) override {
    EXPECT_TRUE(mayCall);
    latest = status;
  }

  /// Nothing is told from inside it.
  void listen(const Radio::Wanted& wanted) {
    mayCall = false;
    radio->listen(wanted);
    mayCall = true;
  }
  void runUntilHeard(int more) {
    harness.runUntil([this, count = heard + more] { return heard >= count; });
  }

  Harness harness;
  const platform::Instant began = harness.now();
  bool mayCall = false;
  int heard = 0;
  std::optional<Radio::Status> latest;
  std::function<void()> onHeard = [] {};
  std::unique_ptr<Radio> radio = harness.create(*this);
};

TYPED_TEST_SUITE_P(RadioContract);

TYPED_TEST_P(RadioContract, HearsTheNetworkUntilItIsStopped) {
  for (const bool everyFrame : {true, false, true}) {
    this->listen({.networks = {networkUUID()}, .everyFrame = everyFrame});
    this->runUntilHeard(1);
    // The first frame may come before the platform says that it listens.
    this->harness.runUntil([this] { return this->latest && this->latest->listening; });
    EXPECT_EQ(this->latest->refused, false);
    this->listen({.networks = {networkUUID()}, .everyFrame = true});  // goes on
    this->runUntilHeard(3);
    this->mayCall = false;
    this->radio->stop();
    this->harness.runAWhile();
  }
}

TYPED_TEST_P(RadioContract, FindsOutWhetherItMayListen) {
  this->listen({});
  this->harness.runUntil([this] { return this->latest && this->latest->refused; });
  this->harness.runAWhile();
  EXPECT_EQ(this->latest->refused, false);
  EXPECT_FALSE(this->latest->listening);
  EXPECT_EQ(this->heard, 0);
}

TYPED_TEST_P(RadioContract, MayBeStoppedInsideACall) {
  this->onHeard = [this] {
    this->radio->stop();
    this->mayCall = false;
  };
  this->listen({.networks = {networkUUID()}, .everyFrame = true});
  this->runUntilHeard(1);
  this->harness.runAWhile();
  this->onHeard = [] {};
  this->listen({.networks = {networkUUID()}, .everyFrame = true});
  this->runUntilHeard(1);
}

TYPED_TEST_P(RadioContract, CallsNothingOnceDestroyed) {
  this->listen({.networks = {networkUUID()}, .everyFrame = true});
  this->runUntilHeard(1);
  this->mayCall = false;
  this->radio.reset();
  this->harness.runAWhile();
}

REGISTER_TYPED_TEST_SUITE_P(RadioContract, HearsTheNetworkUntilItIsStopped,
                            FindsOutWhetherItMayListen, MayBeStoppedInsideACall,
                            CallsNothingOnceDestroyed);

}  // namespace brivane::testing
