// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <thread>
#include <utility>

namespace platform {

/// Starts a thread that takes no signal sent to the process: those are for the host's own threads,
/// and a connection that breaks must not end the process. Signals that a fault of the thread itself
/// raises stay as the host has set them.
template <typename Run>
std::thread startQuietThread(Run run) {
  sigset_t quiet;
  sigset_t before;
  sigfillset(&quiet);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
    sigdelset(&quiet, fault);
  }
  // A thread begins with the mask of the one that starts it.
  pthread_sigmask(SIG_BLOCK, &quiet, &before);
  struct Restore {
    const sigset_t& mask;
    ~Restore() { pthread_sigmask(SIG_SETMASK, &mask, nullptr); }
  } const restore{before};
  return std::thread(std::move(run));
}

}  // namespace platform
