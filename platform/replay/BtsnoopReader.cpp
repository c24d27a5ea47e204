// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/BtsnoopReader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "platform/replay/BtsnoopFormat.h"
#include "platform/replay/CaptureError.h"
#include "platform/replay/HCIEvent.h"

namespace platform {
namespace {

using namespace btsnoop;

constexpr std::uint32_t kMaxPacket = 1 << 16;
/// No recording is from the year 10000 or later.
constexpr std::uint64_t kLatest = 10000ULL * 366 * 24 * 3600 * 1'000'000;

constexpr std::uint32_t kMonitorEvent = 3;

template <typename Number>
Number bigEndian(const std::uint8_t* bytes) {
  Number value = 0;
  for (std::size_t i = 0; i < sizeof(Number); ++i) value = value << 8U | bytes[i];
  return value;
}

}  // namespace

struct BtsnoopReader::Header {
  std::uint64_t offset;
  std::uint32_t originalLength;
  std::uint32_t includedLength;
  std::uint32_t flags;
  std::uint64_t time;
};

BtsnoopReader::BtsnoopReader(const std::string& path) : path_(path) {
  requireFile(path_);
  std::error_code error;
  size_ = std::filesystem::file_size(path, error);
  if (error) throw CaptureError(path_, error.message());
  file_.open(path, std::ios::binary);
  if (!file_) throw CaptureError(path_, std::generic_category().message(errno));
  std::array<std::uint8_t, 16> header{};
  const std::size_t count = read(header);
  const bool identified =
      std::equal(kIdentification.begin(), kIdentification.end(), header.begin());
  if (count < header.size() || !identified) fail(0, "not a btsnoop capture");
  if (bigEndian<std::uint32_t>(&header[8]) != kVersion) fail(8, "not version 1 of btsnoop");
  datalink_ = bigEndian<std::uint32_t>(&header[12]);
  if (datalink_ != kHCI && datalink_ != kHCIUART && datalink_ != kLinuxMonitor) {
    fail(12, "datalink " + std::to_string(datalink_) + " is none of 1001, 1002 and 2001");
  }
}

std::optional<BtsnoopReader::Record> BtsnoopReader::next() {
  while (const auto header = readHeader()) {
    const auto event = eventIn(*header);
    // A capture that keeps only the beginning of long packets is sound; those are passed over.
    if (event.empty() || header->includedLength < header->originalLength) continue;
    if (header->time > kLatest) fail(header->offset, "a record of such a time cannot be");
    // A device whose clock was never set counts from the year 0.
    const std::uint64_t time = std::max(header->time, kEpoch) - kEpoch;
    latest_ = std::max(latest_, UTCTime(Duration(static_cast<std::int64_t>(time))));
    try {
      Record record{latest_, advertisementsIn(event)};
      if (!record.advertisements.empty()) return record;
    } catch (const std::invalid_argument& fault) {
      fail(header->offset, fault.what());
    }
  }
  return std::nullopt;
}

double BtsnoopReader::fractionRead() const {
  return static_cast<double>(offset_) / static_cast<double>(size_);
}

/// Reads a record's header, and its packet into `packet_`; absent at the end of the file.
std::optional<BtsnoopReader::Header> BtsnoopReader::readHeader() {
  const std::uint64_t start = offset_;
  std::array<std::uint8_t, 24> bytes{};
  const std::size_t count = read(bytes);
  if (count == 0) return std::nullopt;
  if (count < bytes.size()) fail(start, "the file ends inside a record's header");
  const Header header{.offset = start,
                      .originalLength = bigEndian<std::uint32_t>(&bytes[0]),
                      .includedLength = bigEndian<std::uint32_t>(&bytes[4]),
                      .flags = bigEndian<std::uint32_t>(&bytes[8]),
                      .time = bigEndian<std::uint64_t>(&bytes[16])};
  if (header.includedLength > std::min(header.originalLength, kMaxPacket)) {
    fail(start, "a record of " + std::to_string(header.includedLength) + " bytes cannot be");
  }
  packet_.resize(header.includedLength);
  if (read(packet_) < packet_.size()) fail(start, "the file ends inside a record");
  return header;
}

std::span<const std::uint8_t> BtsnoopReader::eventIn(const Header& header) const {
  const std::span<const std::uint8_t> packet(packet_);
  switch (datalink_) {
    case kHCI:
      return (header.flags & kFlagsOfReceivedEvent) == kFlagsOfReceivedEvent ? packet
                                                                             : packet.first(0);
    case kHCIUART:
      return !packet.empty() && packet[0] == kUARTEvent ? packet.subspan(1) : packet.first(0);
    default:  // the upper half names the adapter
      return (header.flags & 0xFFFFU) == kMonitorEvent ? packet : packet.first(0);
  }
}

std::size_t BtsnoopReader::read(std::span<std::uint8_t> bytes) {
  file_.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  const auto count = static_cast<std::size_t>(file_.gcount());
  offset_ += count;
  return count;
}

void BtsnoopReader::fail(std::uint64_t offset, const std::string& fault) const {
  throw CaptureError(path_, offset, fault);
}

}  // namespace platform
