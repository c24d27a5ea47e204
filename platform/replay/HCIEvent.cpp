// SPDX-License-Identifier: Apache-2.0
#include "platform/replay/HCIEvent.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>

namespace platform {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t kLEMetaEvent = 0x3E;
constexpr std::uint8_t kAdvertisingReport = 0x02;
constexpr std::uint8_t kExtendedAdvertisingReport = 0x0D;
constexpr std::uint8_t kManufacturerData = 0xFF;
/// In the type of an extended report: whether its data is complete, has more to come, or was cut.
constexpr unsigned kDataStatus = 0x60;

/// Takes `count` bytes off the front.
Bytes take(Bytes& bytes, std::size_t count) {
  if (count > bytes.size()) throw std::invalid_argument("an HCI event ends inside a field");
  const Bytes taken = bytes.first(count);
  bytes = bytes.subspan(count);
  return taken;
}

std::uint8_t takeByte(Bytes& bytes) { return take(bytes, 1).front(); }

using Address = std::array<std::uint8_t, 6>;

Address takeAddress(Bytes& bytes) {
  Address address{};
  const Bytes taken = take(bytes, address.size());
  std::reverse_copy(taken.begin(), taken.end(), address.begin());
  return address;
}

void addManufacturers(Bytes data, std::int8_t rssi, const Address& address,
                      std::vector<Advertisement>& found) {
  while (!data.empty()) {
    const std::size_t length = data.front();
    if (length == 0 || length >= data.size()) return;
    const Bytes structure = data.subspan(1, length);
    data = data.subspan(1 + length);
    if (structure[0] != kManufacturerData || structure.size() < 3) continue;
    const auto company = static_cast<std::uint16_t>(structure[1] | structure[2] << 8U);
    found.push_back({company, {structure.begin() + 3, structure.end()}, rssi, address});
  }
}

void addLegacyReport(Bytes& parameters, std::vector<Advertisement>& found) {
  take(parameters, 2);  // types of the report and of the address
  const Address address = takeAddress(parameters);
  const Bytes data = take(parameters, takeByte(parameters));
  addManufacturers(data, static_cast<std::int8_t>(takeByte(parameters)), address, found);
}

void addExtendedReport(Bytes& parameters, std::vector<Advertisement>& found) {
  const std::uint8_t type = takeByte(parameters);
  take(parameters, 2);  // the rest of the type, type of the address
  const Address address = takeAddress(parameters);
  take(parameters, 4);  // channels, set, power
  const auto rssi = static_cast<std::int8_t>(takeByte(parameters));
  take(parameters, 9);  // interval and target address
  const Bytes data = take(parameters, takeByte(parameters));
  if ((type & kDataStatus) == 0) addManufacturers(data, rssi, address, found);
}

}  // namespace

std::vector<Advertisement> advertisementsIn(Bytes event) {
  std::vector<Advertisement> found;
  const std::uint8_t code = takeByte(event);
  if (takeByte(event) != event.size()) {
    throw std::invalid_argument("an HCI event's length is not that of its record");
  }
  if (code != kLEMetaEvent) return found;
  const std::uint8_t subevent = takeByte(event);
  if (subevent != kAdvertisingReport && subevent != kExtendedAdvertisingReport) return found;
  const auto add = subevent == kAdvertisingReport ? addLegacyReport : addExtendedReport;
  for (unsigned count = takeByte(event); count > 0; --count) add(event, found);
  return found;
}

}  // namespace platform
