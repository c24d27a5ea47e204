// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace brivane::internal {

/// `text`, UTF-8, as the ASCII that goes on the wire: an accented Latin letter becomes its base
/// letter, so that names stay readable; any other character, and any invalid byte, becomes one "?".
std::string lossyASCII(std::string_view text);

}  // namespace brivane::internal
