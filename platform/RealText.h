// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace platform {

/// The shortest decimal text that reads back as `value`, the same in every locale: plain for 0 and
/// magnitudes from 1e-4 to below 1e16, with an exponent beyond. What is no number gives "nan",
/// "inf" or "-inf". Any thread.
BRIVANE_EXPORT std::string realText(double value);

/// What a text begins with, read as a decimal number.
struct LeadingReal {
  /// The number; 0 when the text begins with none.
  double value = 0.0;
  /// Characters that the number takes; 0 when the text begins with none.
  std::size_t length = 0;
};

/// Reads the decimal number that `text` begins with, "-12.5e3" for instance, to the nearest double
/// and the same in every locale. What is too large gives an infinity, what is too small 0. White
/// space, a plus sign, "inf", "nan" and hexadecimal digits begin no number. Any thread.
BRIVANE_EXPORT LeadingReal leadingReal(std::string_view text);

}  // namespace platform
