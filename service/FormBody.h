// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>

namespace service {

using Fields = std::map<std::string, std::string, std::less<>>;

/// Reads a form body as clients write it: "key=value" joined by "&", nothing escaped. A value may
/// hold "&" and "=", so a pair begins only where one of `keys` does: at the body's start, or else
/// where the key stands last.
Fields parseFormBody(std::string_view body, std::initializer_list<std::string_view> keys);

}  // namespace service
