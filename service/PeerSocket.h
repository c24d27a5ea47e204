// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace service {

/// This process's connection with the peer at an IPv4 port ends without another byte. Does nothing
/// when there is no such connection.
void closeConnectionTo(std::uint16_t peerPort);

/// This process's connection with the peer at an IPv4 port ends with a reset when it is closed.
void resetConnectionTo(std::uint16_t peerPort);

}  // namespace service
