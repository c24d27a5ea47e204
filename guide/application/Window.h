// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <adwaita.h>

#include <string>

#include "guide/Guide.h"
#include "guide/application/GObject.h"
#include "guide/application/PlaceList.h"

namespace guide {

/// The one window: what the guide knows, on pages. Its controls are actions of the application's.
class Window {
 public:
  /// Its size is kept in `settings`.
  Window(GtkApplication* application, GSettings* settings);
  /// Closes it.
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  void present() { gtk_window_present(window_); }
  void hide() { gtk_widget_set_visible(GTK_WIDGET(window_), FALSE); }
  bool isShown() const { return gtk_widget_get_visible(GTK_WIDGET(window_)) != FALSE; }
  GtkWindow* widget() const { return window_; }
  /// Turns to the page of the place that one is at, and gives that the keyboard's focus.
  void focusHere();
  /// "here", "around" or "nearby".
  void turnTo(const char* page);

  /// Shows what `guide` knows. `usesPositions`: whether places nearby can be known at all.
  void show(const Guide& guide, bool isGuiding, bool usesPositions);
  /// A short message that goes by itself.
  void tell(const std::string& message);

 private:
  GtkWidget* part(const char* id) const;
  void setText(const char* id, const std::string& text);
  void showHere(const Guide& guide, bool isGuiding);
  void showTrouble(const Guide& guide);

  const Ref<GtkBuilder> parts_;
  GtkWindow* const window_;
  PlaceList around_;
  PlaceList nearby_;
};

/// What a remedy's button says; null where there is nothing to press.
const char* labelOf(Remedy remedy);

}  // namespace guide
