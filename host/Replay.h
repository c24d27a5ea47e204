// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "host/Options.h"
#include "host/Screen.h"
#include "platform/location/Instant.h"
#include "platform/replay/ReplayLocationService.h"

namespace host {

double secondsOf(platform::Instant time);

/// For Options::onCut: says once that a silence was cut, however many there are.
std::function<void(platform::Duration)> cutsOn(Screen& screen);

/// Plays a recording up to the limit that is set. Throws like ReplayLocationService::run.
void play(platform::ReplayLocationService& replay, const SourceOptions& options);

}  // namespace host
