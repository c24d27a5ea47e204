// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <variant>

#include "host/Options.h"

namespace host {

/// A command that was given, by its options.
using Command = std::variant<DetectOptions, ScanOptions, RecordOptions, NearestOptions,
                             PayloadOptions, InfoOptions, ForgetOptions>;

/// The program's commands and options.
class CommandLine {
 public:
  CommandLine();

  /// The command that was given, with its options. Throws CLI::Error for a wrong option, and for
  /// --help.
  Command parse(int argc, char** argv);
  /// Prints what an exception of `parse` asks for, the help or the version; false when it cannot be
  /// written.
  bool answer(const CLI::Success& request);

 private:
  void describeDetect();
  void describeScan();
  void describeRecord();
  void describeNearest();
  void describePayload();
  void describeInfo();

  CLI::App app_;
  CLI::App* detectCommand_;
  CLI::App* scanCommand_;
  CLI::App* recordCommand_;
  CLI::App* nearestCommand_;
  CLI::App* payloadCommand_;
  CLI::App* infoCommand_;
  CLI::App* forgetCommand_;
  bool live_ = false;
  DetectOptions detect_;
  ScanOptions scan_;
  RecordOptions record_;
  NearestOptions nearest_;
  PayloadOptions payload_;
  InfoOptions info_;
};

}  // namespace host
