// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/BlueZDevices.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string_view>
#include <system_error>

#include "platform/linux/SystemBus.h"
#include "platform/location/IBeaconFrame.h"

namespace platform {
namespace {

Variant lookup(GVariant* properties, const char* name, const char* type) {
  return Variant(g_variant_lookup_value(properties, name, G_VARIANT_TYPE(type)));
}

/// The bytes under the company's identifier, or none when they are not of a beacon's length.
std::vector<std::uint8_t> frameIn(GVariant* manufacturerData) {
  GVariantIter companies;
  g_variant_iter_init(&companies, manufacturerData);
  guint16 company = 0;
  GVariant* raw = nullptr;
  while (g_variant_iter_next(&companies, "{qv}", &company, &raw) != FALSE) {
    const Variant value(raw);
    const bool isBytes = g_variant_is_of_type(raw, G_VARIANT_TYPE_BYTESTRING) != FALSE;
    if (company != IBeaconFrame::kCompany || !isBytes) continue;
    gsize size = 0;
    const auto* const bytes =
        static_cast<const std::uint8_t*>(g_variant_get_fixed_array(raw, &size, 1));
    if (size == IBeaconFrame::kSize) return {bytes, bytes + size};
  }
  return {};
}

/// The address at the end of ".../dev_AA_BB_CC_DD_EE_FF"; zeros in a path of another form.
std::array<std::uint8_t, 6> addressIn(std::string_view path) {
  std::array<std::uint8_t, 6> address{};
  constexpr std::size_t kTextSize = 17;
  if (path.size() < kTextSize) return address;
  const char* text = path.data() + path.size() - kTextSize;
  for (std::uint8_t& byte : address) {
    if (std::from_chars(text, text + 2, byte, 16).ec != std::errc()) return {};
    text += 3;
  }
  return address;
}

bool contains(GVariant* names, const char* name) {
  GVariantIter iterator;
  g_variant_iter_init(&iterator, names);
  const gchar* each = nullptr;
  while (g_variant_iter_next(&iterator, "&s", &each) != FALSE) {
    if (std::strcmp(each, name) == 0) return true;
  }
  return false;
}

}  // namespace

void BlueZDevices::know(const std::string& path, GVariant* properties) {
  const Variant none(g_variant_ref_sink(g_variant_new_strv(nullptr, 0)));
  change(path, properties, none.get());
}

std::optional<Advertisement> BlueZDevices::find(const std::string& path, GVariant* properties) {
  know(path, properties);
  return latest(path);
}

std::optional<Advertisement> BlueZDevices::latest(const std::string& path) const {
  const auto found = devices_.find(path);
  return found == devices_.end() ? std::nullopt : heard(path, found->second);
}

std::vector<std::string> BlueZDevices::beaconsOf(const std::set<UUID>& networks) const {
  std::vector<std::string> paths;
  for (const auto& [path, device] : devices_) {
    const auto frame = IBeaconFrame::parse(*heard(path, device));
    if (frame && networks.contains(frame->proximityUUID)) paths.push_back(path);
  }
  return paths;
}

std::optional<Advertisement> BlueZDevices::change(const std::string& path, GVariant* changed,
                                                  GVariant* invalidated) {
  const Variant data = lookup(changed, "ManufacturerData", "a{qv}");
  const Variant rssi = lookup(changed, "RSSI", "n");
  auto found = devices_.find(path);
  if (data) {
    std::vector<std::uint8_t> frame = frameIn(data.get());
    if (frame.empty()) {
      if (found != devices_.end()) devices_.erase(found);
      return std::nullopt;
    }
    if (found == devices_.end()) found = devices_.emplace(path, Device()).first;
    found->second.frame = std::move(frame);
  }
  if (found == devices_.end()) return std::nullopt;
  if (rssi) found->second.rssi = g_variant_get_int16(rssi.get());
  if (contains(invalidated, "RSSI")) found->second.rssi = 0;
  return data || rssi ? heard(path, found->second) : std::nullopt;
}

bool BlueZDevices::isSighting(GVariant* properties) {
  constexpr const char* kHeard[] = {"RSSI", "ManufacturerData", "ServiceData", "AdvertisingData",
                                    "AdvertisingFlags"};
  return std::any_of(std::begin(kHeard), std::end(kHeard), [properties](const char* name) {
    return Variant(g_variant_lookup_value(properties, name, nullptr)) != nullptr;
  });
}

std::optional<Advertisement> BlueZDevices::heard(const std::string& path, const Device& device) {
  return Advertisement{IBeaconFrame::kCompany, device.frame, device.rssi, addressIn(path)};
}

}  // namespace platform
