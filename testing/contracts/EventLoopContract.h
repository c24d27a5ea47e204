// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/location/EventLoop.h"

namespace brivane::testing {

/// What platform/location/EventLoop.h promises. `Harness` has a loop of the thread that makes it,
/// which ends with it:
///
///   /// An object that stands for the loop, a new one where there may be several.
///   std::shared_ptr<platform::EventLoop> loop();
///   /// Runs the loop until `done`, which becomes true inside a call of the loop's.
///   void runUntil(const std::function<bool()>& done);
template <typename Harness>
class EventLoopContract : public ::testing::Test {
 protected:
  using Duration = platform::Duration;

  void runUntil(std::size_t count) {
    harness->runUntil([this, count] { return seen.size() >= count; });
  }
  std::function<void()> see(char what) {
    return [this, what, thread = std::this_thread::get_id()] {
      EXPECT_EQ(std::this_thread::get_id(), thread);
      seen += what;
    };
  }

  std::optional<Harness> harness{std::in_place};
  std::shared_ptr<platform::EventLoop> loop = harness->loop();
  std::string seen;
};

TYPED_TEST_SUITE_P(EventLoopContract);

TYPED_TEST_P(EventLoopContract, CallsTasksLaterAndOnItsThread) {
  this->loop->post(this->see('a'));
  const auto b = this->see('b');
  std::thread([&] { this->loop->post(b); }).join();
  EXPECT_EQ(this->seen, "");
  this->runUntil(2);
  EXPECT_EQ(this->seen, "ab");
  this->loop->post([this] {
    this->loop->post(this->see('d'));
    this->see('c')();
  });
  this->runUntil(4);
  EXPECT_EQ(this->seen, "abcd");
}

TYPED_TEST_P(EventLoopContract, InvokesAtOnceOnItsThreadAndOnceFromAnother) {
  this->loop->invoke(this->see('a'));
  EXPECT_EQ(this->seen, "a");
  std::atomic<int> calls = 0;
  std::thread([&] { this->loop->invoke([&calls] { ++calls; }); }).join();  // nobody runs the loop
  const auto b = this->see('b');
  this->loop->post([&] {  // now somebody does
    std::thread([&] { this->loop->invoke(b); }).join();
    EXPECT_EQ(this->seen, "a");
  });
  this->runUntil(2);
  EXPECT_EQ(this->seen, "ab");
  EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(EventLoopContract, DestroysUncalledWhatItNeverRan) {
  const auto held = std::make_shared<int>();
  this->loop->post([this, held] { this->seen += "called"; });
  this->loop.reset();
  this->harness.reset();
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(this->seen, "");
}

TYPED_TEST_P(EventLoopContract, TimersCallOnceAtTheirTime) {
  using namespace std::chrono_literals;
  const auto now = this->loop->now();
  const auto soon = now + 2ms;
  const auto unset = this->loop->createTimer(this->see('x'));
  const auto replaced = this->loop->createTimer(this->see('b'));
  const auto cancelled = this->loop->createTimer(this->see('x'));
  auto destroyed = this->loop->createTimer(this->see('x'));
  const auto early = this->loop->createTimer([this, soon] {
    EXPECT_GE(this->loop->now(), soon);
    this->see('a')();
  });
  const auto last = this->loop->createTimer(this->see('c'));
  replaced->set(now);
  replaced->set(now + 4ms);
  cancelled->set(soon);
  cancelled->set(std::nullopt);
  destroyed->set(soon);
  destroyed.reset();
  early->set(soon);
  last->set(now + 8ms);
  this->runUntil(3);
  EXPECT_EQ(this->seen, "abc");
  early->set(now);  // which is past, and 'a' looks at `soon`, which is past too
  EXPECT_EQ(this->seen, "abc");
  this->runUntil(4);
  EXPECT_EQ(this->seen, "abca");
}

TYPED_TEST_P(EventLoopContract, KnowsItself) {
  EXPECT_EQ(this->loop->identity(), this->harness->loop()->identity());
  std::thread([this] {
    TypeParam other;
    EXPECT_NE(this->loop->identity(), other.loop()->identity());
  }).join();
  EXPECT_GE(this->loop->slept(), platform::Duration::zero());
}

REGISTER_TYPED_TEST_SUITE_P(EventLoopContract, CallsTasksLaterAndOnItsThread,
                            InvokesAtOnceOnItsThreadAndOnceFromAnother,
                            DestroysUncalledWhatItNeverRan, TimersCallOnceAtTheirTime, KnowsItself);

}  // namespace brivane::testing
