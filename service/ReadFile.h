// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace service {

/// What stands in a file. Throws std::runtime_error, naming the file and the fault, for one that
/// cannot be read.
std::string readFile(const std::string& path);

}  // namespace service
