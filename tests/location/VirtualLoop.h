// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/location/EventLoop.h"

/// An event loop whose time passes when a test says so. One thread.
class VirtualLoop final : public platform::EventLoop {
 public:
  void post(std::function<void()> task) override { tasks_.push_back(std::move(task)); }
  void invoke(std::function<void()> task) override { task(); }
  std::unique_ptr<Timer> createTimer(std::function<void()> due) override {
    return std::make_unique<VirtualTimer>(*this, std::move(due));
  }
  platform::Instant now() const override { return now_; }
  platform::Duration slept() const override { return slept_; }
  const void* identity() const override { return this; }

  /// Time passes while nobody runs the loop.
  void block(platform::Duration time) { now_ += time; }

  /// The device sleeps.
  void sleep(platform::Duration time) { slept_ += time; }

  /// Runs what is posted and the timers that are due, one after another, until `end`.
  void runTo(platform::Instant end) {
    for (;;) {
      while (!tasks_.empty()) {
        const auto task = std::move(tasks_.front());
        tasks_.pop_front();
        task();
      }
      const auto first = std::ranges::min_element(timers_, {}, &VirtualTimer::due);
      if (first == timers_.end() || (*first)->time() > end) break;
      now_ = std::max(now_, (*first)->time());
      (*first)->fire();
    }
    now_ = std::max(now_, end);
  }

 private:
  class VirtualTimer final : public Timer {
   public:
    VirtualTimer(VirtualLoop& loop, std::function<void()> due) : loop_(loop), due_(std::move(due)) {
      loop_.timers_.push_back(this);
    }
    ~VirtualTimer() override { std::erase(loop_.timers_, this); }
    VirtualTimer(const VirtualTimer&) = delete;
    VirtualTimer& operator=(const VirtualTimer&) = delete;
    void set(std::optional<platform::Instant> time) override { time_ = time; }
    platform::Instant time() const { return time_.value_or(platform::Instant::max()); }
    static platform::Instant due(const VirtualTimer* timer) { return timer->time(); }
    void fire() {
      time_.reset();
      due_();
    }

   private:
    VirtualLoop& loop_;
    const std::function<void()> due_;
    std::optional<platform::Instant> time_;
  };

  platform::Instant now_;
  platform::Duration slept_{};
  std::deque<std::function<void()>> tasks_;
  std::vector<VirtualTimer*> timers_;
};
