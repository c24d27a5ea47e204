// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "BrivaneSDK/BVAPIResolve.h"

namespace guidance {

/// How much is said of a place: its name; also where its beacon is; also what to mind there.
enum class Detail { kName, kWhere, kAll };

/// The language of the network's texts, as "es": what the installed property list says in
/// CFBundleDevelopmentRegion; empty when it does not.
std::string networkLanguage();

/// Appends `text`, if there is one, as a sentence of its own, so that a voice pauses before it.
void appendSentence(std::string& line, const std::optional<std::string>& text);

/// The place's name, else its identifier, else that it has none.
std::string nameOf(const BVAPIResolve& place);

/// The place in sentences, all but its name in the network's own words; no full stop is added at
/// the end.
std::string sentencesOf(const BVAPIResolve& place, Detail detail);

/// A distance of that many metres in a walker's words and steps: "close by", "45 metres",
/// "1.2 kilometres".
std::string distanceText(double metres);

/// A direction by the compass, "to the north-east"; degrees from north, clockwise. There is nothing
/// that tells which way a person faces, so "left" and "ahead" cannot be said.
std::string directionText(double degrees);

}  // namespace guidance
