// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace brivane::internal {

/// Numbers as the service and the log read them, the same in every locale.

/// Appends `value` in decimal.
void appendInteger(std::string& text, std::int64_t value);

/// The low 32 bits of `value` as a signed decimal: the service takes no wider integers.
std::string int32Text(std::int64_t value);

/// `value` truncated toward zero to a signed 32-bit integer, at the ends of the range where it does
/// not fit, 0 for NaN.
std::string truncatedInt32Text(double value);

/// Fixed notation with six decimals.
std::string fixedText(double value);

/// `value` truncated toward zero, at the ends of the range where it does not fit, 0 for NaN.
std::int64_t truncatedInteger(double value);

}  // namespace brivane::internal
