// SPDX-License-Identifier: Apache-2.0
#include "host/VoiceOption.h"

#include <string>

#include "host/Failure.h"
#ifdef BRIVANE_SPEECH
#  include "guidance/Text.h"
#  include "guidance/Voice.h"
#endif

namespace host {

#ifdef BRIVANE_SPEECH

std::unique_ptr<guidance::Speech> speechFor(bool speak, Screen& screen) {
  if (!speak) return nullptr;
  return std::make_unique<guidance::Voice>(
      guidance::Voice::Options{.onFault = [&screen](const std::string& fault) {
        screen.complain(
            fault.empty()
                ? guidance::_("speaks again")
                : guidance::filled(guidance::_("does not speak, and tries again: %1"), {fault}));
      }});
}

#else

std::unique_ptr<guidance::Speech> speechFor(bool speak, Screen& /*screen*/) {
  if (!speak) return nullptr;
  throw Failure(kUsageFailure, "--speak: this brivane was built without a voice (BRIVANE_SPEECH)");
}

#endif

}  // namespace host
