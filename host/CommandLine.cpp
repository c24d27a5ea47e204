// SPDX-License-Identifier: Apache-2.0
#include "host/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <functional>
#include <iomanip>
#include <iostream>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

namespace host {
namespace {

std::string checkNotEmpty(const std::string& text) { return text.empty() ? "empty" : ""; }

/// A check that refuses what is no number from `least` to `most`, NaN too.
std::function<std::string(const std::string&)> between(double least, double most) {
  return [least, most](const std::string& text) {
    double number = 0.0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = read.ec == std::errc() && read.ptr == text.data() + text.size();
    if (isNumber && number >= least && number <= most) return std::string();
    std::ostringstream fault;
    fault << std::setprecision(10) << "'" << text << "' is not a number from " << least << " to "
          << most;
    return fault.str();
  };
}

/// "hci0", or an address as 00:11:22:AA:BB:CC.
bool isAdapter(std::string_view text) {
  const auto isDigit = [](unsigned char c) { return std::isdigit(c) != 0; };
  if (text.starts_with("hci")) {
    return text.size() > 3 && std::all_of(text.begin() + 3, text.end(), isDigit);
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isRight =
        i % 3 == 2 ? text[i] == ':' : std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
    if (!isRight) return false;
  }
  return text.size() == 17;
}

std::string checkAdapter(const std::string& text) {
  return isAdapter(text) ? "" : "'" + text + "' is neither a name as hci0 nor an address";
}

void addServiceOptions(CLI::App& command, ServiceOptions& options) {
  command.add_option("--info", options.info, "Property list with the credentials, XML or binary")
      ->check(checkNotEmpty)
      ->take_last()
      ->capture_default_str();
  command.add_flag("--json", options.json, "Print one JSON object a line");
  command.add_flag("--log", options.log,
                   "Write the library's log to standard error; it holds the credentials in clear");
  command
      .add_option("--connect", options.connect,
                  "HOST:PORT to connect to in place of the service's own host")
      ->check(checkNotEmpty)
      ->take_last();
  command.add_option("--ca", options.ca, "File of the certificates to trust, PEM")
      ->check(checkNotEmpty)
      ->take_last();
}

void addLimit(CLI::App& command, std::optional<double>& limit) {
  command
      .add_option("--for", limit, "Stop after so many seconds, of the recording if there is one")
      ->check(between(0.0, 1e9));
}

void addLog(CLI::App& command, bool& log) {
  command.add_flag("--log", log, "Write to standard error what is mended by itself");
}

CLI::Option* addAdapter(CLI::App& command, LiveOptions& options) {
  return command
      .add_option("--adapter", options.adapter, "Bluetooth adapter, as hci0 or by its address")
      ->check(checkAdapter)
      ->take_last();
}

/// "max" is no speed at all; other texts are refused by the option's check before this.
std::optional<double> speedFrom(const std::string& text) {
  double speed = 0.0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), speed);
  const bool isNumber = read.ec == std::errc() && read.ptr == text.data() + text.size();
  return isNumber && std::isfinite(speed) && speed > 0.0 ? std::optional(speed) : std::nullopt;
}

std::string checkSpeed(const std::string& text) {
  return text == "max" || speedFrom(text) ? "" : "'" + text + "' is neither max nor above 0";
}

/// The radio or a capture, and what each takes.
struct SourceSwitches {
  CLI::Option* live;
  CLI::Option* capture;
};

SourceSwitches addSource(CLI::App& command, SourceOptions& options, bool& live) {
  CLI::Option* const capture =
      command.add_option("--capture", options.capture, "Play this btsnoop capture")
          ->check(checkNotEmpty)
          ->take_last();
  CLI::Option* const radio =
      command.add_flag("--live", live, "Listen with this machine's radio")->excludes(capture);
  command
      .add_option_function<std::string>(
          "--speed", [&options](const std::string& text) { options.speed = speedFrom(text); },
          "Play so many times as fast as recorded, or max for as fast as can be")
      ->check(checkSpeed)
      ->type_name("N|max")
      ->needs(capture);
  addAdapter(command, options.live)->excludes(capture);
  addLimit(command, options.limit);
  return {radio, capture};
}

}  // namespace

CommandLine::CommandLine()
    : app_("Detects the beacons of the accessibility network and names the places near them.",
           "brivane"),
      detectCommand_(app_.add_subcommand("detect", "Detect beacons and say which places are near")),
      scanCommand_(app_.add_subcommand("scan", "List the beacons in range, without any service")),
      recordCommand_(app_.add_subcommand("record", "Write what the radio hears into a capture")),
      nearestCommand_(app_.add_subcommand("nearest", "List the places near a coordinate")),
      payloadCommand_(app_.add_subcommand("payload", "Attach a JSON object to a beacon")),
      infoCommand_(app_.add_subcommand("info", "Say what this is and what it runs on")),
      forgetCommand_(app_.add_subcommand("forget", "Forget the answers that --offline kept")) {
  app_.set_version_flag("--version", "brivane " BRIVANE_VERSION);
  app_.require_subcommand(0, 1);  // none is refused after all words, so that a wrong one is named
  app_.footer(
      "Exit status: 0 done or interrupted, 1 the service or the radio failed, 2 a wrong option or "
      "file.");
  describeDetect();
  describeScan();
  describeRecord();
  describeNearest();
  describePayload();
  describeInfo();
}

void CommandLine::describeDetect() {
  CLI::App& command = *detectCommand_;
  const SourceSwitches source = addSource(command, detect_.source, live_);
  command.add_option("--track", detect_.track, "Positions for the capture, GPX")
      ->check(checkNotEmpty)
      ->type_name("TEXT")
      ->needs(source.capture);
  command.add_flag("--gps", detect_.gps, "Report positions to the service too");
  command
      .add_option("--desktop-id", detect_.source.live.desktopId,
                  "Name of the desktop file by which GeoClue knows this program")
      ->check(checkNotEmpty)
      ->take_last()
      ->capture_default_str()
      ->needs(source.live);
  command.add_flag("--offline", detect_.service.offline,
                   "Keep what the service answers, and go by that where it does not answer");
  command.add_flag("--all", detect_.all, "Print every match, not only what is new");
  command.add_flag("--speak", detect_.speak, "Say aloud which place is the nearest");
  addServiceOptions(command, detect_.service);
}

void CommandLine::describeScan() {
  addSource(*scanCommand_, scan_.source, live_);
  scanCommand_->add_flag("--json", scan_.json, "Print one JSON object a line");
  addLog(*scanCommand_, scan_.log);
}

void CommandLine::describeRecord() {
  recordCommand_->add_option("FILE", record_.file, "The capture to write, btsnoop; a new file")
      ->required()
      ->check(checkNotEmpty);
  addAdapter(*recordCommand_, record_.live);
  addLimit(*recordCommand_, record_.limit);
  addLog(*recordCommand_, record_.log);
}

void CommandLine::describeNearest() {
  CLI::App& command = *nearestCommand_;
  command.add_option("LAT", nearest_.latitude, "Latitude, degrees")
      ->required()
      ->check(between(-90.0, 90.0));
  command.add_option("LNG", nearest_.longitude, "Longitude, degrees")
      ->required()
      ->check(between(-180.0, 180.0));
  command.add_option("RADIUS", nearest_.radius, "Metres")
      ->required()
      ->check(CLI::Range(std::int64_t{0}, std::int64_t{std::numeric_limits<std::int32_t>::max()}));
  addServiceOptions(command, nearest_.service);
}

void CommandLine::describePayload() {
  CLI::App& command = *payloadCommand_;
  command.add_option("UUID", payload_.uuid, "The beacon's identifier at the service")
      ->required()
      ->check(checkNotEmpty);
  command.add_option("JSON", payload_.payload, "The object to attach")->required();
  addServiceOptions(command, payload_.service);
}

void CommandLine::describeInfo() {
  infoCommand_->add_flag("--json", info_.json, "Print one JSON object");
}

bool CommandLine::answer(const CLI::Success& request) {
  app_.exit(request);
  return static_cast<bool>(std::cout.flush());
}

Command CommandLine::parse(int argc, char** argv) {
  app_.parse(argc, argv);
  if (detectCommand_->parsed()) {
    if (!live_ && detect_.source.capture.empty()) {
      throw CLI::RequiredError("--live or --capture FILE");
    }
    return detect_;
  }
  if (scanCommand_->parsed()) return scan_;
  if (recordCommand_->parsed()) return record_;
  if (nearestCommand_->parsed()) return nearest_;
  if (payloadCommand_->parsed()) return payload_;
  if (infoCommand_->parsed()) return info_;
  if (forgetCommand_->parsed()) return ForgetOptions{};
  throw CLI::RequiredError("A command");
}

}  // namespace host
