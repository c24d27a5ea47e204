// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/GpxTrack.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <string_view>
#include <system_error>

#include "platform/RealText.h"
#include "platform/replay/CaptureError.h"
#include "platform/replay/UTCTime.h"

namespace platform {
namespace {

constexpr double kMetresPerDilution = 5.0;

std::optional<double> number(std::string_view text) {
  const LeadingReal read = leadingReal(text);
  if (read.length == 0 || read.length != text.size() || !std::isfinite(read.value)) {
    return std::nullopt;
  }
  return read.value;
}

std::optional<double> degrees(std::string_view text, double limit) {
  const auto value = number(text);
  return value && std::abs(*value) <= limit ? value : std::nullopt;
}

TrackPoint readPoint(const pugi::xml_node& point, const std::string& path) {
  const auto offset = static_cast<std::uint64_t>(point.offset_debug());
  const auto latitude = degrees(point.attribute("lat").value(), 90.0);
  const auto longitude = degrees(point.attribute("lon").value(), 180.0);
  if (!latitude || !longitude) {
    throw CaptureError(path, offset, "a track point without a latitude and a longitude");
  }
  const auto time = parseUTCTime(point.child("time").text().get());
  if (!time) throw CaptureError(path, offset, "a track point without a time");
  const double dilution = number(point.child("hdop").text().get()).value_or(1.0);
  return {.time = *time,
          .location = {.coordinate = {*latitude, *longitude},
                       .horizontalAccuracy = kMetresPerDilution * dilution}};
}

}  // namespace

std::vector<TrackPoint> readGpxTrack(const std::string& path) {
  requireFile(path);
  pugi::xml_document document;
  const auto result = document.load_file(path.c_str());
  if (result.status == pugi::status_file_not_found || result.status == pugi::status_io_error) {
    throw CaptureError(path, std::generic_category().message(errno));
  }
  if (!result) {
    throw CaptureError(path, static_cast<std::uint64_t>(result.offset), result.description());
  }
  const pugi::xml_node gpx = document.child("gpx");
  if (!gpx) throw CaptureError(path, 0, "not a GPX file");
  std::vector<TrackPoint> points;
  for (const pugi::xml_node track : gpx.children("trk")) {
    for (const pugi::xml_node segment : track.children("trkseg")) {
      for (const pugi::xml_node point : segment.children("trkpt")) {
        points.push_back(readPoint(point, path));
      }
    }
  }
  std::stable_sort(points.begin(), points.end(),
                   [](const TrackPoint& a, const TrackPoint& b) { return a.time < b.time; });
  return points;
}

}  // namespace platform
