// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "guidance/Speech.h"
#include "host/Screen.h"

namespace host {

/// The voice that a command was asked for with --speak; null when it was not. Complains on the
/// screen when the voice cannot be heard. Throws Failure where this program was built without one.
std::unique_ptr<guidance::Speech> speechFor(bool speak, Screen& screen);

}  // namespace host
