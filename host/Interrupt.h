// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <thread>

namespace host {

/// Keeps Ctrl-C and a request to terminate from ending the process: they wait for an Interrupt.
/// Called before any other thread is started, so that it holds for all of them.
void holdInterrupts();

/// While it lives, turns the first held signal into one call, on a thread of its own.
class Interrupt {
 public:
  explicit Interrupt(std::function<void()> action);
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

 private:
  std::jthread thread_;
};

}  // namespace host
