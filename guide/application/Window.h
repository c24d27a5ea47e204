// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <adwaita.h>

#include <string>

#include "guidance/Guide.h"
#include "guide/application/PlaceList.h"

namespace guide {

/// The one window: what the guide knows, on pages, and the dialogs over it. Its controls are
/// actions of the application's.
class Window {
 public:
  /// Its size is kept in `settings`. It is there, shown or not, until the process ends.
  Window(GtkApplication* application, GSettings* settings);

  GtkWindow* widget() const { return window_; }
  bool isShown() const { return gtk_widget_get_visible(GTK_WIDGET(window_)) != FALSE; }
  /// Shows the window, the "preferences", or what is said "about" the program.
  void present(const char* id = "window");
  /// Has a file be chosen, the network's property list; its signal "response" tells.
  GtkNativeDialog* chooser() const { return GTK_NATIVE_DIALOG(object("chooser")); }
  /// Turns to the page of the place that one is at, and gives that the keyboard's focus.
  void focusHere();

  /// Shows what `guide` knows.
  void show(const guidance::Guide& guide, bool isGuiding);
  /// A short message that goes by itself.
  void tell(const std::string& message);

 private:
  GObject* object(const char* id) const { return gtk_builder_get_object(parts_, id); }
  GtkWidget* part(const char* id) const { return GTK_WIDGET(object(id)); }
  void setText(const char* id, const std::string& text);
  /// What a screen reader reads of a group of texts.
  void setSpoken(const char* id, const std::string& text);
  void showHere(const guidance::Guide& guide, bool isGuiding);
  void showTrouble(const guidance::Guide& guide);

  GtkBuilder* const parts_;
  GtkWindow* const window_;
  PlaceList around_;
  PlaceList nearby_;
};

}  // namespace guide
