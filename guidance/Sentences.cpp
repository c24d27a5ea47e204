// SPDX-License-Identifier: Apache-2.0
#include "guidance/Sentences.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>

#include "guidance/Text.h"
#include "platform/PropertyList.h"
#include "platform/Services.h"

namespace guidance {
namespace {

constexpr double kCloseBy = 10.0;  // metres
constexpr double kKilometre = 1000.0;

constexpr std::array<const char*, 8> kDirections = {
    N_("to the north"), N_("to the north-east"), N_("to the east"), N_("to the south-east"),
    N_("to the south"), N_("to the south-west"), N_("to the west"), N_("to the north-west")};

std::string metresText(double metres) {
  const double step = metres < 100.0 ? 5.0 : 10.0;
  const auto rounded = std::lround(metres / step) * static_cast<long>(step);
  return filled(P_("%1 metre", "%1 metres", static_cast<unsigned long>(rounded)),
                {std::to_string(rounded)});
}

}  // namespace

std::string networkLanguage() {
  return platform::services()
      .propertyList->objectForInfoDictionaryKey("CFBundleDevelopmentRegion")
      .value_or("");
}

void appendSentence(std::string& line, const std::optional<std::string>& text) {
  if (!text || text->empty()) return;
  line.append(!line.empty() && std::string_view(".!?").find(line.back()) != std::string_view::npos
                  ? " "
                  : ". ")
      .append(*text);
}

std::string nameOf(const BVAPIResolve& place) {
  if (const auto& name = place.waybeacon()->name()) return *name;
  return place.uuid().value_or(_("a place without a name"));
}

std::string sentencesOf(const BVAPIResolve& place, Detail detail) {
  std::string text = nameOf(place);
  if (detail >= Detail::kWhere) appendSentence(text, place.waybeacon()->location());
  if (detail >= Detail::kAll) appendSentence(text, place.waybeacon()->accesibility());
  return text;
}

std::string distanceText(double metres) {
  if (metres < kCloseBy) return _("close by");
  if (metres < kKilometre - 5.0) return metresText(metres);
  const auto tenths = std::lround(metres / 100.0);
  return filled(_("%1.%2 kilometres"), {std::to_string(tenths / 10), std::to_string(tenths % 10)});
}

std::string directionText(double degrees) {
  const auto eighth = std::lround(degrees / 45.0) % 8;
  return _(kDirections.at(static_cast<std::size_t>(eighth < 0 ? eighth + 8 : eighth)));
}

}  // namespace guidance
