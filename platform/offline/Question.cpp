// SPDX-License-Identifier: Apache-2.0
#include "platform/offline/Question.h"

#include <glib.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

#include "platform/UUID.h"

namespace platform {
namespace {

/// Parts of a degree, of eleven metres or less.
constexpr double kCellsOfADegree = 10'000.0;
constexpr double kMostDegrees = 360.0;

/// The value of a form field; empty when there is none. Nothing is escaped, so a field begins where
/// its name stands last: the service reads it so.
std::string_view field(std::string_view body, const std::string& name) {
  const std::string pair = "&" + name + "=";
  std::size_t begin = body.rfind(pair);
  if (begin == std::string_view::npos) {
    if (!body.starts_with(pair.substr(1))) return {};
    begin = pair.size() - 1;
  } else {
    begin += pair.size();
  }
  return body.substr(begin, body.find('&', begin) - begin);
}

std::optional<std::int64_t> integer(std::string_view text) {
  std::int64_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isWhole = read.ec == std::errc() && read.ptr == text.data() + text.size();
  return isWhole ? std::optional(value) : std::nullopt;
}

/// The cell that a coordinate in degrees lies in.
std::optional<std::int64_t> cell(const std::string& text) {
  char* end = nullptr;
  const double degrees = g_ascii_strtod(text.c_str(), &end);
  const bool isNumber = !text.empty() && *end == '\0' && std::abs(degrees) <= kMostDegrees;
  return isNumber ? std::optional(std::llround(degrees * kCellsOfADegree)) : std::nullopt;
}

std::string beaconKey(std::string_view body) {
  const auto uuid = UUID::initWithUUIDString(field(body, "uuid"));
  const auto major = integer(field(body, "major"));
  const auto minor = integer(field(body, "minor"));
  if (!uuid || !major || !minor) return "";
  return "beacon " + uuid->UUIDString() + ' ' + std::to_string(*major) + ' ' +
         std::to_string(*minor);
}

std::string placesKey(std::string_view body) {
  const auto latitude = cell(std::string(field(body, "lat")));
  const auto longitude = cell(std::string(field(body, "lng")));
  const auto radius = integer(field(body, "radius"));
  if (!latitude || !longitude || !radius) return "";
  return "places " + std::to_string(*latitude) + ' ' + std::to_string(*longitude) + ' ' +
         std::to_string(*radius);
}

}  // namespace

Question Question::of(const HTTPRequest& request) {
  constexpr std::string_view kScheme = "https://";
  constexpr std::string_view kPrefix = "/api/v1/";
  const std::string_view url = request.url;
  const std::size_t prefix = url.rfind(kPrefix);  // it stands in the path twice
  if (!url.starts_with(kScheme) || prefix == std::string_view::npos) return {};
  const std::string_view endpoint = url.substr(prefix + kPrefix.size());
  const std::size_t path = url.find('/', kScheme.size());
  Question question;
  question.network = url.substr(kScheme.size(), path - kScheme.size());
  if (endpoint == "oauth2/token/") question.kind = Kind::kLogin;
  if (endpoint == "sync/") question.kind = Kind::kSync;
  if (endpoint == "resolve/") question.key = beaconKey(request.body);
  if (endpoint == "nearest/") question.key = placesKey(request.body);
  if (!question.key.empty()) question.kind = Kind::kLasting;
  return question;
}

}  // namespace platform
