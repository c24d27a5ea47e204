// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace guide {

/// Where the property list of the person's network is kept.
std::string importedNetwork(const std::string& application);

/// Keeps `bytes`, the property list of a network, at `path`, for its owner alone to read. What is
/// wrong, in one line for a person, when it is none or cannot be kept, and nothing has changed
/// then; else empty.
std::string importNetwork(std::string_view bytes, const std::string& path);

}  // namespace guide
