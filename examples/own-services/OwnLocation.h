// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/location/LocationCore.h>

#include <memory>
#include <string>

// A location service over whatever the host's radio hears: regions, ranging and their reports are
// the library's, the host feeds frames and time. This one's radio is a capture.
std::shared_ptr<platform::LocationCore> ownLocation();

// Feeds it from `capture`, `speed` times as fast, on the thread that made the manager: reports come
// from inside. Where there is a main loop, its handlers call `hear`, and a timer `advance`.
void listen(platform::LocationCore& location, const std::string& capture, double speed);
