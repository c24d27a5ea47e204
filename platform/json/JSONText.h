// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

/// The JSON text with ".0" behind every integer that 64 bits may not hold, so that a reader which
/// refuses such integers takes them for reals. Whatever else the text is, it stays.
std::string withLongIntegersAsReals(std::string_view json);

/// Whether the JSON text holds more values and keys than `most`. Whatever else the text is, no
/// reader finds more in it than are counted here.
bool holdsMoreValuesThan(std::size_t most, std::string_view json);

}  // namespace platform
