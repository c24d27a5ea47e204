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
  const auto soon = this->loop->now() + 2ms;
  const auto cancelled = this->loop->createTimer(this->see('x'));
  auto destroyed = this->loop->createTimer(this->see('x'));
  const auto timer = this->loop->createTimer([this, soon] {
    EXPECT_GE(this->loop->now(), soon);
    this->see('a')();
  });
  const auto last = this->loop->createTimer(this->see('b'));
  cancelled->set(soon);
  cancelled->set(std::nullopt);
  destroyed->set(soon);
  destroyed.reset();
  timer->set(soon + 24h);
  timer->set(soon);  // replaces that
  this->runUntil(1);
  EXPECT_EQ(this->seen, "a");
  timer->set(soon);  // which is past, but not inside the call
  EXPECT_EQ(this->seen, "a");
  this->runUntil(2);
  last->set(this->loop->now() + 8ms);
  this->runUntil(3);
  EXPECT_EQ(this->seen, "aab");
}

TYPED_TEST_P(EventLoopContract, KnowsItself) {
  EXPECT_EQ(this->loop->identity(), this->harness->loop()->identity());
  std::thread([this] {
    TypeParam other;
    EXPECT_NE(this->loop->identity(), other.loop()->identity());
  }).join();
}

REGISTER_TYPED_TEST_SUITE_P(EventLoopContract, CallsTasksLaterAndOnItsThread,
                            InvokesAtOnceOnItsThreadAndOnceFromAnother,
                            DestroysUncalledWhatItNeverRan, TimersCallOnceAtTheirTime, KnowsItself);

}  // namespace brivane::testing
