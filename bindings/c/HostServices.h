// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "bindings/c/brivane.h"
#include "platform/Services.h"

/// What brivane_adapters.h makes: services, of which those are used that the host does not give.
struct brivane_adapters {
  platform::Services services;
};

struct brivane_live {
  std::shared_ptr<platform::LocationService> service;
};

namespace brivane::internal {

// The services that the host gives as tables of functions. Each throws std::invalid_argument for a
// table that lacks one.
std::shared_ptr<platform::HTTPClient> hostHTTPClient(const brivane_http& table);
std::shared_ptr<platform::JSON> hostJSON(const brivane_json& table);
std::shared_ptr<platform::LocationService> hostLocation(const brivane_location& table);

}  // namespace brivane::internal
