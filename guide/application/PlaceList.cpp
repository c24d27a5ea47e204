// SPDX-License-Identifier: Apache-2.0
#include "guide/application/PlaceList.h"

#include <adwaita.h>

#include <algorithm>
#include <utility>

namespace guide {
namespace {

constexpr const char* kRank = "rank";
constexpr const char* kUri = "uri";

void open(GtkWidget* row, gpointer /*data*/) {
  const auto* uri = static_cast<const char*>(g_object_get_data(G_OBJECT(row), kUri));
  gtk_show_uri(GTK_WINDOW(gtk_widget_get_root(row)), uri, GDK_CURRENT_TIME);
}

GtkWidget* rowFor(const PlaceRow::Detail& detail) {
  GtkWidget* const row = adw_action_row_new();
  adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(row), FALSE);
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), detail.text.c_str());
  if (detail.uri.empty()) return row;
  g_object_set_data_full(G_OBJECT(row), kUri, g_strdup(detail.uri.c_str()), g_free);
  gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(row), TRUE);
  adw_action_row_add_suffix(ADW_ACTION_ROW(row),
                            gtk_image_new_from_icon_name("adw-external-link-symbolic"));
  g_signal_connect(row, "activated", G_CALLBACK(open), nullptr);
  return row;
}

GtkWidget* newRow(const std::vector<PlaceRow::Detail>& details) {
  GtkWidget* const row = adw_expander_row_new();
  adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(row), FALSE);
  for (const auto& detail : details)
    adw_expander_row_add_row(ADW_EXPANDER_ROW(row), rowFor(detail));
  return row;
}

void fill(GtkWidget* row, const PlaceRow& place) {
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), place.name.c_str());
  adw_expander_row_set_subtitle(ADW_EXPANDER_ROW(row), place.line.c_str());
  gtk_accessible_update_property(GTK_ACCESSIBLE(row), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 place.name.c_str(), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                 place.line.c_str(), -1);
}

int rankOf(GtkListBoxRow* row) { return GPOINTER_TO_INT(g_object_get_data(G_OBJECT(row), kRank)); }

int compare(GtkListBoxRow* one, GtkListBoxRow* other, gpointer /*data*/) {
  return rankOf(one) - rankOf(other);
}

}  // namespace

PlaceList::PlaceList(GtkListBox* box) : box_(box) {
  gtk_list_box_set_sort_func(box_, compare, nullptr, nullptr);
}

void PlaceList::add(PlaceRow place, std::vector<Entry>& before) {
  const auto known = std::ranges::find_if(before, [&place](const Entry& entry) {
    return entry.place.id == place.id && entry.place.details == place.details;
  });
  Entry entry;
  if (known != before.end()) {
    entry = std::move(*known);
    before.erase(known);
  } else {
    entry.row = newRow(place.details);
    gtk_list_box_append(box_, entry.row);
  }
  if (entry.place != place) fill(entry.row, place);
  entry.place = std::move(place);
  g_object_set_data(G_OBJECT(entry.row), kRank, GINT_TO_POINTER(static_cast<int>(entries_.size())));
  entries_.push_back(std::move(entry));
}

void PlaceList::remove(const std::vector<Entry>& gone) {
  for (const Entry& entry : gone) gtk_list_box_remove(box_, entry.row);
  gtk_list_box_invalidate_sort(box_);
}

}  // namespace guide
