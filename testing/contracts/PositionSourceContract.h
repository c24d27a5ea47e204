// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Location.h"
#include "platform/location/PositionSource.h"

namespace brivane::testing {

/// What platform/location/PositionSource.h promises. `Harness` has a loop of the thread that makes
/// it, and a device that moves, whose user grants the position:
///
///   std::unique_ptr<platform::PositionSource> create(platform::PositionSource::Listener&
///   listener);
///   /// Runs the loop until `done`, which becomes true inside a call of the source's. The device
///   /// moves meanwhile.
///   void runUntil(const std::function<bool()>& done);
///   /// Runs it for as long as it takes to find some positions.
///   void runAWhile();
template <typename Harness>
class PositionSourceContract : public ::testing::Test, public platform::PositionSource::Listener {
 protected:
  void positionFound(const platform::CLLocation& position) override {
    EXPECT_TRUE(mayCall);
    EXPECT_GE(position.horizontalAccuracy, 0.0);
    ++found;
    onFound();
  }
  void positionGrantChanged(platform::PositionGrant now, const std::string& reason) override {
    EXPECT_TRUE(mayCall);
    EXPECT_EQ(reason.empty(), now == platform::PositionGrant::kGranted);
    grant = now;
  }

  /// Nothing is told from inside it.
  void start(double accuracy) {
    mayCall = false;
    source->start(accuracy);
    mayCall = true;
    grant.reset();  // the answer comes anew
  }
  void runUntilFound() {
    harness.runUntil([this, count = found + 1] { return grant && found >= count; });
    EXPECT_EQ(grant, platform::PositionGrant::kGranted);
  }

  Harness harness;
  bool mayCall = false;
  int found = 0;
  std::optional<platform::PositionGrant> grant;
  std::function<void()> onFound = [] {};
  std::unique_ptr<platform::PositionSource> source = harness.create(*this);
};

TYPED_TEST_SUITE_P(PositionSourceContract);

TYPED_TEST_P(PositionSourceContract, FindsPositionsUntilItIsStopped) {
  this->start(10);
  this->runUntilFound();
  this->start(5);  // goes on
  this->runUntilFound();
  this->mayCall = false;
  this->source->stop();
  this->harness.runAWhile();
  this->start(10);
  this->runUntilFound();
}

TYPED_TEST_P(PositionSourceContract, MayBeStoppedInsideACallAndDestroyedAfter) {
  this->onFound = [this] {
    this->source->stop();
    this->mayCall = false;
  };
  this->start(10);
  this->runUntilFound();
  this->harness.runAWhile();
  this->source.reset();
  this->harness.runAWhile();
}

REGISTER_TYPED_TEST_SUITE_P(PositionSourceContract, FindsPositionsUntilItIsStopped,
                            MayBeStoppedInsideACallAndDestroyedAfter);

}  // namespace brivane::testing
