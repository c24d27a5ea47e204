// SPDX-License-Identifier: Apache-2.0
#include "host/Interrupt.h"

#include <pthread.h>

#include <csignal>
#include <utility>

namespace host {
namespace {

sigset_t interrupts() {
  sigset_t signals{};
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

}  // namespace

void holdInterrupts() {
  const sigset_t signals = interrupts();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

Interrupt::Interrupt(std::function<void()> action)
    : thread_([action = std::move(action)](const std::stop_token& stop) {
        const sigset_t signals = interrupts();
        int received = 0;
        sigwait(&signals, &received);
        if (!stop.stop_requested()) action();
      }) {}

Interrupt::~Interrupt() {
  thread_.request_stop();
  pthread_kill(thread_.native_handle(), SIGINT);  // wakes that thread alone
}

}  // namespace host
