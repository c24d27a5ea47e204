// SPDX-License-Identifier: Apache-2.0
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
  /// Whether answers are kept, and stand in for a service that does not answer.
  bool offline = false;
};

/// What listening with this machine's radio takes.
struct LiveOptions {
  /// "hci0" or an address; empty for whichever there is.
  std::string adapter;
  /// By which GeoClue knows this program.
  std::string desktopId = "brivane";
};

/// Where beacons come from: this machine's radio, or a recording.
struct SourceOptions {
  LiveOptions live;
  /// A btsnoop file; empty for the radio.
  std::string capture;
  /// A factor of the recorded pace; absent for full speed.
  std::optional<double> speed = 1.0;
  /// Seconds; absent for the whole capture, or until the program is interrupted.
  std::optional<double> limit;
};

struct DetectOptions {
  ServiceOptions service;
  SourceOptions source;
  std::optional<std::string> track;
  bool gps = false;
  bool all = false;
  bool speak = false;
};

struct ScanOptions {
  SourceOptions source;
  bool json = false;
  bool log = false;
};

struct RecordOptions {
  LiveOptions live;
  std::string file;
  std::optional<double> limit;
  bool log = false;
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

struct InfoOptions {
  bool json = false;
};

struct ForgetOptions {};

}  // namespace host
