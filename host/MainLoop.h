// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>

namespace host {

/// The main loop of the program's first thread, where the radio calls back.
class MainLoop {
 public:
  /// Runs until `done` holds, which is asked after whatever happened on this thread, and after
  /// `wake`. False when `limit`, in seconds, ran out first.
  bool runUntil(const std::function<bool()>& done, std::optional<double> limit) const;

  /// Any thread.
  void wake() const;
};

}  // namespace host
