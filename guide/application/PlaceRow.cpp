// SPDX-License-Identifier: Apache-2.0
#include "guide/application/PlaceRow.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <string_view>

#include "guidance/AgeText.h"
#include "guidance/Sentences.h"
#include "guidance/Text.h"
#include "platform/JSONValue.h"
#include "platform/RealText.h"

namespace guide {
namespace {

using guidance::_;
using platform::JSONValue;

using Field = std::optional<std::string>;

void add(PlaceRow& row, const Field& text, const std::string& uri = {}) {
  if (text && !text->empty()) row.details.push_back({.text = *text, .uri = uri});
}

/// A web address is opened, and nothing else that the service might name.
std::string webUri(const Field& address) {
  if (!address) return "";
  return address->starts_with("https://") || address->starts_with("http://") ? *address : "";
}

std::string phoneUri(const Field& number) {
  std::string uri = "tel:";
  std::ranges::copy_if(number.value_or(""), std::back_inserter(uri),
                       [](char c) { return c == '+' || (c >= '0' && c <= '9'); });
  return uri;
}

std::string plainText(const JSONValue& value) {
  std::string text;
  const auto append = [&text](std::string_view key, const JSONValue& element) {
    if (!text.empty()) text += ", ";
    if (!key.empty()) text.append(key).append(": ");
    text += plainText(element);
  };
  switch (value.kind()) {
    case JSONValue::Kind::kNull:
      break;
    case JSONValue::Kind::kBoolean:
      return value.boolean() ? _("yes") : _("no");
    case JSONValue::Kind::kInteger:
      return std::to_string(value.integer());
    case JSONValue::Kind::kReal:
      return platform::realText(value.real());
    case JSONValue::Kind::kText:
      return value.text();
    case JSONValue::Kind::kList:
      for (const JSONValue& element : value.list()) append("", element);
      break;
    case JSONValue::Kind::kObject:
      for (const auto& [key, element] : value.members()) append(key, element);
      break;
  }
  return text;
}

}  // namespace

PlaceRow rowOf(const guidance::Sighting& sighting) {
  const BVWaybeacon& beacon = *sighting.place->waybeacon();
  PlaceRow row;
  row.id = sighting.place->uuid().value_or("");
  row.name = guidance::nameOf(*sighting.place);
  row.line = sighting.metres ? guidance::distanceText(*sighting.metres) : _("not heard just now");
  guidance::appendSentence(row.line, beacon.location());
  if (sighting.keptSince) {
    const auto now = std::chrono::system_clock::now();
    row.line += " (" + guidance::ageText(*sighting.keptSince, now) + ")";
  }
  add(row, beacon.accesibility());
  add(row, beacon.url(), webUri(beacon.url()));
  add(row, plainText(beacon.payload()));
  return row;
}

PlaceRow rowOf(const guidance::NearbyPlace& nearby) {
  const BVLocal& local = *nearby.local;
  PlaceRow row;
  row.name = local.name().value_or(_("a place without a name"));
  row.id = local.uuid().value_or(row.name);
  row.line = nearby.whereText();
  guidance::appendSentence(row.line, local.address());
  add(row, local.category());
  add(row, local.phone(), phoneUri(local.phone()));
  add(row, local.web(), webUri(local.web()));
  return row;
}

}  // namespace guide
