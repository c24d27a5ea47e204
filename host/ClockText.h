// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace host {

/// Minutes and seconds, as every line for a person begins.
std::string clockText(double seconds);

}  // namespace host
