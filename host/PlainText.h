// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace host {

/// `text` as one line that a terminal only prints: line breaks and other controls, which a service
/// or a daemon could send, have become blanks.
std::string plainLine(std::string_view text);

}  // namespace host
