// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <variant>

#include "guidance/Language.h"
#include "host/CommandLine.h"
#include "host/Commands.h"
#include "host/Failure.h"
#include "host/Interrupt.h"
#include "host/PlainText.h"
#include "host/Screen.h"

namespace {

/// Runs the command whose options are given.
struct Runner {
  void operator()(const host::DetectOptions& options) const {
    if (options.source.capture.empty()) {
      host::detectLive(options, screen);
    } else {
      host::detectCapture(options, screen);
    }
  }
  void operator()(const host::ScanOptions& options) const { host::scan(options, screen); }
  void operator()(const host::RecordOptions& options) const { host::record(options, screen); }
  void operator()(const host::NearestOptions& options) const { host::nearest(options, screen); }
  void operator()(const host::PayloadOptions& options) const { host::payload(options, screen); }
  void operator()(const host::InfoOptions& options) const { host::info(options, screen); }
  void operator()(const host::ForgetOptions& options) const { host::forget(options, screen); }

  host::Screen& screen;
};

/// A standard stream that is closed would give its number to the next file or connection, which
/// would get what is printed. This one takes nothing, so that printing fails.
void fillStandardStreams() {
  while (true) {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (descriptor > STDERR_FILENO) close(descriptor);
    if (descriptor < 0 || descriptor > STDERR_FILENO) return;
  }
}

int complain(const std::string& fault, host::ExitStatus status) {
  std::fprintf(stderr, "brivane: %s\n", host::plainLine(fault).c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  fillStandardStreams();
  guidance::useLanguageOfLocale();
  std::signal(
      SIGPIPE,
      SIG_IGN);  // NOLINT: before any other thread; a reader that has gone is told like a full disk
  host::CommandLine commandLine;
  host::Screen screen;
  try {
    const auto command = commandLine.parse(argc, argv);
    host::holdInterrupts();
    std::visit(Runner{screen}, command);
    screen.failIfLost();
    return host::kSuccess;
  } catch (const CLI::Success& request) {
    return commandLine.answer(request)
               ? host::kSuccess
               : complain("standard output takes nothing", host::kServiceFailure);
  } catch (const host::Failure& failure) {
    return complain(failure.what(), failure.status());
  } catch (const std::exception& fault) {
    return complain(fault.what(), host::kUsageFailure);
  }
}
