// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/BlueZDevices.h"
#include "platform/linux/GeoCluePositions.h"
#include "tests/fuzz/Input.h"

/// Properties as a daemon could send them: any bytes, taken for a dictionary.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const platform::Variant untrusted(
      g_variant_ref_sink(g_variant_new_from_data(G_VARIANT_TYPE_VARDICT, data, size, FALSE, nullptr, nullptr)));
  const platform::Variant properties(g_variant_get_normal_form(untrusted.get()));
  const platform::Variant none(g_variant_ref_sink(g_variant_new_strv(nullptr, 0)));
  platform::BlueZDevices devices;
  for (int i = 0; i < 2; ++i) {
    const auto heard = devices.change("/org/bluez/hci0/dev_C0_00_00_00_00_01", properties.get(), none.get());
    require(!heard || heard->data.size() == 23);
  }
  const auto position = platform::positionIn(properties.get(), 1'000'000'000);
  require(!position || (position->coordinate.latitude <= 90.0 && position->coordinate.latitude >= -90.0));
  return 0;
}
