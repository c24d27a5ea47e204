// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "platform/Log.h"

namespace brivane::testing {

/// What happened, a line each, in one order, whoever saw it: install it as the log, give it to the
/// scripted HTTP client and to the recording delegates, and compare. Any thread.
class BRIVANE_EXPORT Journal final : public platform::Log {
 public:
  Journal();
  ~Journal() override;
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  /// Adds a line. Lines of the library's log come this way too, credentials and tokens in clear.
  void write(std::string_view line) override;

  /// The lines since the last call, joined by `separator`; empty when there are none.
  std::string take(std::string_view separator = "\n");

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace brivane::testing
