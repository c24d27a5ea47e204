#pragma once

#include "host/Options.h"
#include "platform/location/Instant.h"
#include "platform/replay/ReplayLocationService.h"

namespace host {

double secondsOf(platform::Instant time);

/// Plays a recording up to the limit that is set. Throws like ReplayLocationService::run.
void play(platform::ReplayLocationService& replay, const SourceOptions& options);

}  // namespace host
