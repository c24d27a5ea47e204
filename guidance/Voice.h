// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "guidance/Speech.h"

namespace guidance {

/// Speaks through speech-dispatcher, with the voice, the rate and the language that the user chose
/// there unless an utterance or an option says otherwise. Any thread; nothing blocks. Where no
/// server runs it lets the system start one, and tries again every few seconds while there is none.
class Voice final : public Speech {
 public:
  struct Options {
    /// By which the user's settings know this program.
    std::string program = "brivane";
    /// From -100, slowest, to 100; absent for the user's own.
    std::optional<int> rate = {};
    /// Called on the voice's own thread when it cannot speak, with the reason in one line, and with
    /// an empty line when it can again. May be empty.
    std::function<void(const std::string& fault)> onFault = {};
  };

  explicit Voice(Options options);
  /// What was said last is still said to its end.
  ~Voice() override;
  Voice(const Voice&) = delete;
  Voice& operator=(const Voice&) = delete;

  void say(Utterance utterance) override;
  void stop() override;
  /// Of what is said from now on.
  void setRate(std::optional<int> rate);

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace guidance
