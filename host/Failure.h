// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace host {

enum ExitStatus : int {
  kSuccess = 0,
  /// The service, the radio or standard output failed or refused.
  kServiceFailure = 1,
  /// An option or a file is wrong.
  kUsageFailure = 2,
};

/// Ends the program with one line on standard error and this exit status.
class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus status, const std::string& message)
      : std::runtime_error(message), status_(status) {}
  ExitStatus status() const { return status_; }

 private:
  ExitStatus status_;
};

}  // namespace host
