// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/Export.h"

namespace platform {

/// The shortest decimal text that reads back as `value`, the same in every locale: plain for 0 and
/// magnitudes from 1e-4 to below 1e16, with an exponent beyond. What is no number gives "nan",
/// "inf" or "-inf". Any thread.
BRIVANE_EXPORT std::string realText(double value);

}  // namespace platform
