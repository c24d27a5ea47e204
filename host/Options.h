#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

/// What every command that reaches the service takes.
struct ServiceOptions {
  std::string info = "Info.plist";
  bool json = false;
  bool log = false;
  /// HOST:PORT that connections go to in place of the API host; empty for the API host itself.
  std::string connect;
  /// File of the certificates to trust; empty for the system's.
  std::string ca;
};

struct DetectOptions {
  ServiceOptions service;
  std::string capture;
  std::optional<std::string> track;
  /// A factor of the recorded pace; absent for full speed.
  std::optional<double> speed = 1.0;
  bool gps = false;
  /// Seconds of detection; absent for the whole capture.
  std::optional<double> limit;
  bool all = false;
};

struct NearestOptions {
  ServiceOptions service;
  double latitude = 0.0;
  double longitude = 0.0;
  std::int64_t radius = 0;
};

struct PayloadOptions {
  ServiceOptions service;
  std::string uuid;
  std::string payload;
};

}  // namespace host
