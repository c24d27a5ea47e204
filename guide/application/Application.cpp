// SPDX-License-Identifier: Apache-2.0
#include "guide/application/Application.h"

#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

#include "guidance/Sentences.h"
#include "guidance/Text.h"
#include "guide/MainContext.h"
#include "guide/application/Credentials.h"
#include "guide/application/Remedies.h"
#include "guide/application/SessionProperty.h"

namespace guide {
namespace {

using guidance::_;
using guidance::Remedy;

constexpr const char* kIdentifier = "example.brivane.Guide";
constexpr const char* kNotification = "here";

}  // namespace

Application::Application(bool isService)
    : application_(adw_application_new(
          kIdentifier, isService ? G_APPLICATION_IS_SERVICE : G_APPLICATION_DEFAULT_FLAGS)),
      settings_(g_settings_new(kIdentifier)) {
  connect<&Application::activate>(application(), "activate", *this);
  g_application_register(application(), nullptr, nullptr);
}

Application::~Application() = default;

void Application::prepare(Guiding::Options options) {
  voice_ = std::make_unique<guidance::Voice>(guidance::Voice::Options{
      .program = "brivane-guide", .onFault = [this](const std::string& fault) {
        post([this, fault] { guide_->speechChanged(fault, monotonicNow()); });
      }});
  guide_ = std::make_unique<Guide>(
      *voice_,
      [this](double latitude, double longitude, std::int64_t radius) {
        return guiding_->askNearby(latitude, longitude, radius);
      },
      [this] { guideChanged(); });
  if (options.info.empty()) options.info = importedNetwork(kIdentifier);
  guiding_ = std::make_unique<Guiding>(std::move(options), kIdentifier, *guide_);
  watch(kScreenReader, G_OBJECT(application()), [this](bool runs) {
    hasScreenReader_ = runs;
    preferencesChanged();
  });
  watch(kCall, G_OBJECT(application()), [this](bool calls) { guide_->hush(calls); });
  connect<&Application::preferencesChanged>(settings_.get(), "changed", *this);
  connect<&Application::positionsChanged>(settings_.get(), "changed::positions", *this);
  addActions();
  window_ = std::make_unique<Window>(GTK_APPLICATION(application()), settings_.get());
  connect<&Application::windowHidden>(window_->widget(), "hide", *this);
  g_signal_connect(window_->chooser(), "response", G_CALLBACK(networkChosen), this);
  preferencesChanged();
}

template <auto method>
void Application::act(GSimpleAction* /*action*/, GVariant* /*parameter*/, gpointer self) {
  (static_cast<Application*>(self)->*method)();
}

void Application::addActions() {
  const GActionEntry actions[] = {
      {"guiding", act<&Application::toggleGuiding>, nullptr, "false", nullptr, {}},
      {"stop", act<&Application::stop>, nullptr, nullptr, nullptr, {}},
      {"say-again", act<&Application::sayAgain>, nullptr, nullptr, nullptr, {}},
      {"more", act<&Application::sayMore>, nullptr, nullptr, nullptr, {}},
      {"mend", act<&Application::mend>, nullptr, nullptr, nullptr, {}},
      {"import", act<&Application::chooseNetwork>, nullptr, nullptr, nullptr, {}},
      {"preferences", act<&Application::showPreferences>, nullptr, nullptr, nullptr, {}},
      {"about", act<&Application::showAbout>, nullptr, nullptr, nullptr, {}},
      {"quit", act<&Application::quit>, nullptr, nullptr, nullptr, {}}};
  g_action_map_add_action_entries(G_ACTION_MAP(application()), actions,
                                  static_cast<int>(std::size(actions)), this);
  for (const char* key : {"speak", "detail", "positions", "keep-awake"}) {
    g_autoptr(GAction) action = g_settings_create_action(settings_.get(), key);
    g_action_map_add_action(G_ACTION_MAP(application()), action);
  }

  constexpr const char* kKeys[][3] = {{"app.guiding", "<Control>g"},
                                      {"app.say-again", "<Control>r", "AudioPlay"},
                                      {"app.more", "<Control>m"},
                                      {"app.mend", "<Control>d"},
                                      {"app.preferences", "<Control>comma"},
                                      {"win.page::here", "<Alt>1"},
                                      {"win.page::around", "<Alt>2"},
                                      {"win.page::nearby", "<Alt>3"},
                                      {"window.close", "<Control>w"},
                                      {"app.quit", "<Control>q"}};
  for (const auto& [action, key, other] : kKeys) {
    const char* const keys[] = {key, other, nullptr};
    gtk_application_set_accels_for_action(GTK_APPLICATION(application()), action, keys);
  }
}

void Application::enable(const char* action, bool enabled) {
  g_simple_action_set_enabled(
      G_SIMPLE_ACTION(g_action_map_lookup_action(G_ACTION_MAP(application()), action)), enabled);
}

void Application::activate() {
  const bool isFirst = !window_->isShown() && !guiding_->isGuiding();
  window_->present();
  if (isFirst) startGuiding();
  guideChanged();
}

void Application::windowHidden() {
  if (!guiding_->isGuiding()) quit();
  guideChanged();
}

void Application::preferencesChanged() {
  guide_->setManner(
      {.speaksByItself = setting("speak"),
       .screenReader = hasScreenReader_,
       .detail = static_cast<guidance::Detail>(g_settings_get_enum(settings_.get(), "detail")),
       .language = guidance::networkLanguage()});
  const int rate = g_settings_get_int(settings_.get(), "rate");
  voice_->setRate(rate == 0 ? std::nullopt : std::optional(rate));
  keepAwake(guiding_->isGuiding() && setting("keep-awake"));
  guideChanged();
}

void Application::positionsChanged() {
  if (guiding_->isGuiding()) guiding_->start(setting("positions"));
}

void Application::startGuiding() {
  if (!guiding_->isGuiding()) g_application_hold(application());
  guiding_->start(setting("positions"));
  if (GDBusConnection* const bus = g_application_get_dbus_connection(application())) {
    mediaKeys_ = std::make_unique<MediaKeys>(bus, [this] { sayAgain(); });
  }
  preferencesChanged();
}

void Application::stopGuiding() {
  if (!guiding_->isGuiding()) return;
  guiding_->stop();
  mediaKeys_.reset();
  preferencesChanged();
  g_application_release(application());
}

void Application::stop() {
  stopGuiding();
  if (!window_->isShown()) quit();
}

void Application::toggleGuiding() {
  if (guiding_->isGuiding()) return stopGuiding();
  startGuiding();
}

void Application::sayMore() {
  guide_->sayMore();
  window_->focusHere();  // which a screen reader reads
}

void Application::mend() {
  const auto trouble = guide_->trouble();
  if (!trouble) return;
  const Remedy remedy = trouble->remedy;
  if (remedy == Remedy::kSwitchBluetoothOn) {
    switchBluetoothOn([this](const std::string& fault) { window_->tell(fault); });
  }
  if (remedy == Remedy::kOpenSettings && !openSettings(trouble->kind)) {
    window_->tell(_("This desktop has no settings for that."));
  }
  if (remedy == Remedy::kImportCredentials) chooseNetwork();
  if (remedy == Remedy::kTryAgain) guiding_->tryAgain();
}

void Application::chooseNetwork() { gtk_native_dialog_show(window_->chooser()); }

void Application::networkChosen(GtkFileChooser* chooser, int response, gpointer self) {
  if (response != GTK_RESPONSE_ACCEPT) return;
  g_autoptr(GFile) file = gtk_file_chooser_get_file(chooser);
  g_file_load_contents_async(
      file, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer application) {
        g_autofree char* bytes = nullptr;
        gsize size = 0;
        g_autoptr(GError) fault = nullptr;
        g_file_load_contents_finish(G_FILE(source), result, &bytes, &size, nullptr, &fault);
        static_cast<Application*>(application)
            ->networkRead(fault != nullptr
                              ? fault->message
                              : importNetwork({bytes, size}, importedNetwork(kIdentifier)));
      },
      self);
}

void Application::networkRead(const std::string& fault) {
  window_->tell(fault.empty() ? _("The network is imported.") : fault);
  if (fault.empty()) startGuiding();
}

void Application::quit() {
  stopGuiding();
  g_application_withdraw_notification(application(), kNotification);
  g_application_quit(application());
}

void Application::guideChanged() {
  const auto trouble = guide_->trouble();
  enable("say-again", !guide_->lastSaid().empty());
  enable("more", guide_->places().here() != nullptr);
  enable("mend", trouble && trouble->remedy != Remedy::kNone);
  g_action_group_change_action_state(G_ACTION_GROUP(application()), "guiding",
                                     g_variant_new_boolean(guiding_->isGuiding()));
  if (window_->isShown()) {
    window_->show(*guide_, guiding_->isGuiding());
    const bool isNew = guide_->notice() != std::exchange(noticed_, guide_->notice());
    if (isNew && !trouble) window_->tell(noticed_);  // a trouble stands in the window by itself
  }
  notify();
}

void Application::notify() {
  std::string text;
  if (!window_->isShown() && guiding_->isGuiding()) {
    const guidance::Sighting* const here = guide_->places().here();
    const auto trouble = guide_->trouble();
    text = here != nullptr ? guidance::nameOf(*here->place) : _("Guiding");
    if (trouble) guidance::appendSentence(text, trouble->sentence);
  }
  if (text == std::exchange(notified_, text)) return;
  if (text.empty()) {
    g_application_withdraw_notification(application(), kNotification);
    return;
  }
  g_autoptr(GNotification) notification = g_notification_new(text.c_str());
  g_notification_set_body(notification, _("Guiding goes on until it is stopped."));
  g_notification_add_button(notification, _("Say Again"), "app.say-again");
  g_notification_add_button(notification, _("Stop"), "app.stop");
  g_application_send_notification(application(), kNotification, notification);
}

void Application::keepAwake(bool awake) {
  auto* const gtk = GTK_APPLICATION(application());
  if (awake && awake_ == 0) {
    awake_ = gtk_application_inhibit(gtk, window_->widget(), GTK_APPLICATION_INHIBIT_SUSPEND,
                                     _("Guiding"));
  } else if (!awake && awake_ != 0) {
    gtk_application_uninhibit(gtk, std::exchange(awake_, 0));
  }
}

}  // namespace guide
