#include <cstdio>
#include <exception>
#include <string>
#include <variant>

#include "host/CommandLine.h"
#include "host/Commands.h"
#include "host/Failure.h"
#include "host/Interrupt.h"
#include "host/PlainText.h"

namespace {

/// Runs the command whose options are given.
struct Runner {
  void operator()(const host::DetectOptions& options) const {
    if (options.source.capture.empty()) {
      host::detectLive(options);
    } else {
      host::detectCapture(options);
    }
  }
  void operator()(const host::ScanOptions& options) const { host::scan(options); }
  void operator()(const host::RecordOptions& options) const { host::record(options); }
  void operator()(const host::NearestOptions& options) const { host::nearest(options); }
  void operator()(const host::PayloadOptions& options) const { host::payload(options); }
  void operator()(const host::InfoOptions& options) const { host::info(options.json); }
};

int complain(const std::string& fault, host::ExitStatus status) {
  std::fprintf(stderr, "brivane: %s\n", host::plainLine(fault).c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  host::CommandLine commandLine;
  try {
    const auto command = commandLine.parse(argc, argv);
    host::holdInterrupts();
    std::visit(Runner{}, command);
    return host::kSuccess;
  } catch (const CLI::Success& help) {
    return commandLine.showHelp(help);
  } catch (const host::Failure& failure) {
    return complain(failure.what(), failure.status());
  } catch (const std::exception& fault) {
    return complain(fault.what(), host::kUsageFailure);
  }
}
