// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace guidance {

/// What is said at once.
struct Utterance {
  std::string text;
  /// Of the text, as "es" or "es-ES"; empty for the person's own.
  std::string language = {};
  /// Others' voices are interrupted for it, and nothing of ours interrupts it: for what makes
  /// guidance end, since silence would pass for a way without places.
  bool urgent = false;

  friend bool operator==(const Utterance&, const Utterance&) = default;
};

/// Says things aloud.
class Speech {
 public:
  virtual ~Speech() = default;

  /// Says it in place of what is being said, or waits to be: there is no queue, so what is no
  /// longer true is not said. Only an urgent one is said to its end. Returns at once.
  virtual void say(Utterance utterance) = 0;

  /// Falls silent, and drops what waits.
  virtual void stop() = 0;
};

}  // namespace guidance
