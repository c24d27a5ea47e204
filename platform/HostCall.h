// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>

#include "platform/Log.h"

namespace platform {

/// Calls `callback`, which runs code of the host's. An exception that leaves it ends here, with a
/// line in `log` unless that is null, so that the next callback is served.
template <typename Callback>
void callHost(const Callback& callback, Log* log) {
  const auto report = [log](const char* fault) {
    if (log != nullptr) log->write(std::string("A callback failed: ") + fault);
  };
  try {
    callback();
  } catch (const std::exception& fault) {
    report(fault.what());
  } catch (...) {
    report("an exception of an unknown kind");
  }
}

}  // namespace platform
