// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtk/gtk.h>

#include <utility>
#include <vector>

#include "guide/application/PlaceRow.h"

namespace guide {

/// Shows places as rows that open. A place that stays keeps its row, open or closed, and with it
/// the keyboard's focus and the screen reader's place.
class PlaceList {
 public:
  /// `box` outlives this.
  explicit PlaceList(GtkListBox* box);

  /// Shows these in their order: what `rowOf` takes.
  template <typename Places>
  void show(const Places& places) {
    std::vector<Entry> before = std::exchange(entries_, {});
    for (const auto& place : places) add(rowOf(place), before);
    remove(before);
  }

 private:
  struct Entry {
    PlaceRow place;
    GtkWidget* row = nullptr;
  };

  /// Adds a row, that which it had `before` if there is one.
  void add(PlaceRow place, std::vector<Entry>& before);
  /// Removes those that are there no more.
  void remove(const std::vector<Entry>& gone);

  GtkListBox* const box_;
  std::vector<Entry> entries_;
};

}  // namespace guide
