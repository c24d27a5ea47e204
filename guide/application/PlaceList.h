// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "guide/application/PlaceRow.h"

namespace guide {

/// Shows places as rows that open. A place that stays keeps its row, open or closed, and with it
/// the keyboard's focus and the screen reader's place.
class PlaceList {
 public:
  /// `box` outlives this.
  explicit PlaceList(GtkListBox* box);

  void show(const std::vector<PlaceRow>& places);

 private:
  struct Entry {
    PlaceRow place;
    GtkWidget* row = nullptr;
  };

  GtkListBox* const box_;
  std::vector<Entry> entries_;
};

}  // namespace guide
