// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <variant>

#include "platform/JSON.h"

namespace platform {

/// `value` as compact JSON text; an error for what has no JSON form: NaN, an infinity, a text that
/// is not UTF-8, a depth over 512.
std::variant<std::string, JSONError> writeJSON(const JSONValue& value);

}  // namespace platform
