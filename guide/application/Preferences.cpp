// SPDX-License-Identifier: Apache-2.0
#include "guide/application/Preferences.h"

#include "guide/application/GObject.h"

namespace guide {
namespace {

constexpr const char* kDetail = "detail";

void keepDetail(GObject* row, GParamSpec* /*selected*/, gpointer settings) {
  g_settings_set_enum(G_SETTINGS(settings), kDetail,
                      static_cast<int>(adw_combo_row_get_selected(ADW_COMBO_ROW(row))));
}

}  // namespace

void showPreferences(GtkWindow* parent, GSettings* settings) {
  const Ref<GtkBuilder> parts(
      gtk_builder_new_from_resource("/example/brivane/Guide/preferences.ui"));
  const auto part = [&parts](const char* id) { return gtk_builder_get_object(parts.get(), id); };
  const auto bind = [&](const char* key, const char* property) {
    g_settings_bind(settings, key, part(key), property, G_SETTINGS_BIND_DEFAULT);
  };
  bind("speak", "active");
  bind("rate", "value");
  bind("positions", "active");
  bind("keep-awake", "active");
  GObject* const detail = part(kDetail);
  adw_combo_row_set_selected(ADW_COMBO_ROW(detail),
                             static_cast<guint>(g_settings_get_enum(settings, kDetail)));
  g_signal_connect_object(detail, "notify::selected", G_CALLBACK(keepDetail), settings,
                          static_cast<GConnectFlags>(0));
  auto* const window = GTK_WINDOW(part("preferences"));
  gtk_window_set_transient_for(window, parent);
  gtk_window_present(window);
}

}  // namespace guide
