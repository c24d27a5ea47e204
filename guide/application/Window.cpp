// SPDX-License-Identifier: Apache-2.0
#include "guide/application/Window.h"

#include <optional>

#include "guidance/Sentences.h"
#include "guidance/Text.h"

namespace guide {
namespace {

using guidance::_;
using guidance::N_;
using guidance::Remedy;
using guidance::Session;

/// Has the interface files know GuideTextGroup: a box of texts that belong together. The keyboard
/// reaches it as one, and a screen reader reads it then.
void registerTextGroup() {
  static const auto describe = [](gpointer type, gpointer /*data*/) {
    GTK_WIDGET_CLASS(type)->grab_focus = [](GtkWidget* group) -> gboolean {
      gtk_root_set_focus(gtk_widget_get_root(group), group);
      return TRUE;
    };
    GTK_WIDGET_CLASS(type)->focus = [](GtkWidget* group, GtkDirectionType /*way*/) -> gboolean {
      return !gtk_widget_is_focus(group) && gtk_widget_grab_focus(group);
    };
  };
  g_type_register_static_simple(GTK_TYPE_BOX, "GuideTextGroup", sizeof(GtkBoxClass), describe,
                                sizeof(GtkBox), nullptr, static_cast<GTypeFlags>(0));
}

/// What stands in place of a place.
const char* stateText(Session session, bool isGuiding) {
  if (!isGuiding) return _("Not guiding");
  if (session == Session::kReady) return _("No place here");
  return session == Session::kConnecting ? _("Connecting…") : _("Not connected");
}

/// What the buttons of remedies say, in their order; there is none for the first.
constexpr const char* kRemedies[] = {nullptr, N_("Switch Bluetooth On"), N_("Open Settings"),
                                     N_("Import a Network…"), N_("Try Again")};

GtkBuilder* build(GtkApplication* application) {
  registerTextGroup();
  GtkBuilder* const parts = gtk_builder_new();
  gtk_builder_expose_object(parts, "application", G_OBJECT(application));
  for (const char* file : {"window", "preferences", "dialogs"}) {
    const std::string path = std::string("/example/brivane/Guide/") + file + ".ui";
    g_autoptr(GError) fault = nullptr;
    gtk_builder_add_from_resource(parts, path.c_str(), &fault);
    if (fault != nullptr) g_error("%s", fault->message);  // the program was built wrong
  }
  return parts;
}

}  // namespace

Window::Window(GtkApplication* application, GSettings* settings)
    : parts_(build(application)),
      window_(GTK_WINDOW(part("window"))),
      around_(GTK_LIST_BOX(part("around"))),
      nearby_(GTK_LIST_BOX(part("nearby"))) {
  const auto bind = [&](const char* key, const char* id, const char* property, int flags) {
    g_settings_bind(settings, key, object(id), property, static_cast<GSettingsBindFlags>(flags));
  };
  bind("width", "window", "default-width", G_SETTINGS_BIND_DEFAULT);
  bind("height", "window", "default-height", G_SETTINGS_BIND_DEFAULT);
  bind("rate", "rate", "value", G_SETTINGS_BIND_DEFAULT);
  bind("positions", "nearby", "visible", G_SETTINGS_BIND_GET);
  bind("positions", "use_positions", "visible",
       G_SETTINGS_BIND_GET | G_SETTINGS_BIND_INVERT_BOOLEAN);
  g_object_set(object("about"), "version", BRIVANE_VERSION, nullptr);
  g_autoptr(GPropertyAction) page =
      g_property_action_new("page", object("pages"), "visible-child-name");
  g_action_map_add_action(G_ACTION_MAP(window_), G_ACTION(page));
}

void Window::present(const char* id) { gtk_window_present(GTK_WINDOW(object(id))); }

void Window::focusHere() {
  g_action_group_activate_action(G_ACTION_GROUP(window_), "page", g_variant_new_string("here"));
  gtk_widget_grab_focus(part("here"));
}

void Window::tell(const std::string& message) {
  GtkWidget* const text = gtk_label_new(message.c_str());
  gtk_label_set_wrap(GTK_LABEL(text), TRUE);  // the toast's own title is cut
  AdwToast* const toast = adw_toast_new("");
  adw_toast_set_custom_title(toast, text);
  adw_toast_overlay_add_toast(ADW_TOAST_OVERLAY(part("toasts")), toast);
}

void Window::setText(const char* id, const std::string& text) {
  auto* const label = GTK_LABEL(part(id));
  if (text != gtk_label_get_label(label)) gtk_label_set_label(label, text.c_str());
  gtk_widget_set_visible(GTK_WIDGET(label), !text.empty());
}

void Window::show(const guidance::Guide& guide, bool isGuiding) {
  showTrouble(guide);
  showHere(guide, isGuiding);
  around_.show(guide.places().around());
  nearby_.show(guide.nearby());
}

void Window::setSpoken(const char* id, const std::string& text) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(object(id)), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 text.c_str(), -1);
}

void Window::showHere(const guidance::Guide& guide, bool isGuiding) {
  static const BVWaybeacon kNowhere;
  const guidance::Sighting* const here = guide.places().here();
  const BVWaybeacon& beacon = here != nullptr ? *here->place->waybeacon() : kNowhere;
  const std::string name =
      here != nullptr ? guidance::nameOf(*here->place) : stateText(guide.session(), isGuiding);
  setText("guiding_label", isGuiding ? _("Stop Guiding") : _("Start Guiding"));
  setText("here_name", name);
  setText("here_where", beacon.location().value_or(""));
  setText("here_mind", beacon.accesibility().value_or(""));
  setSpoken("here",
            here != nullptr ? guidance::sentencesOf(*here->place, guidance::Detail::kAll) : name);
}

void Window::showTrouble(const guidance::Guide& guide) {
  const std::optional<guidance::Trouble> trouble = guide.trouble();
  gtk_widget_set_visible(part("trouble"), trouble.has_value());
  if (!trouble) return;
  std::string text = trouble->sentence;
  guidance::appendSentence(text, trouble->advice);
  setText("trouble_text", text);
  setSpoken("trouble_says", text);
  gtk_widget_set_visible(part("mend"), trouble->remedy != Remedy::kNone);
  if (trouble->remedy == Remedy::kNone) return;
  setText("mend_label", _(kRemedies[static_cast<int>(trouble->remedy)]));
}

}  // namespace guide
