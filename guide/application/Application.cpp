// SPDX-License-Identifier: Apache-2.0
#include "guide/application/Application.h"

#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

#include "guidance/Sentences.h"
#include "guidance/Text.h"
#include "guide/application/Credentials.h"
#include "guide/application/Preferences.h"
#include "guide/application/Remedies.h"

namespace guide {
namespace {

using guidance::_;

constexpr const char* kNotification = "here";

/// Runs `task` soon on the main context, after all that was given before it. Any thread.
void post(std::function<void()> task) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(task)),
      [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

SettingsPage settingsOf(TroubleKind kind) {
  switch (kind) {
    case TroubleKind::kNoPermission:
    case TroubleKind::kNoPositions:
      return SettingsPage::kLocation;
    case TroubleKind::kNoNetwork:
    case TroubleKind::kService:
      return SettingsPage::kNetwork;
    default:
      return SettingsPage::kBluetooth;
  }
}

Instant now() { return Instant(Duration(g_get_monotonic_time())); }

}  // namespace

Application::Application(Options options)
    : options_(std::move(options)),
      application_(adw_application_new(
          kIdentifier, options_.service ? G_APPLICATION_IS_SERVICE : G_APPLICATION_DEFAULT_FLAGS)),
      settings_(g_settings_new(kIdentifier)) {
  connect<&Application::activate>(application(), "activate", *this);
  g_application_register(application(), nullptr, nullptr);
}

Application::~Application() = default;

void Application::prepare() {
  guidance::Voice::Options voice;
  voice.program = "brivane-guide";
  voice.onFault = [this](const std::string& fault) {
    post([this, fault] { guide_->speechChanged(fault, now()); });
  };
  voice_ = std::make_unique<guidance::Voice>(std::move(voice));
  guide_ = std::make_unique<Guide>(
      *voice_,
      [this](double latitude, double longitude, std::int64_t radius) {
        return guiding_->askNearby(latitude, longitude, radius);
      },
      [this] { guideChanged(); });
  guiding_ = std::make_unique<Guiding>(Guiding::Options{.connect = options_.connect,
                                                        .ca = options_.ca,
                                                        .capture = options_.capture,
                                                        .track = options_.track,
                                                        .speed = options_.speed,
                                                        .application = kIdentifier},
                                       post, *guide_);
  screenReader_ = std::make_unique<SessionProperty>(SessionProperty::kScreenReader,
                                                    [this] { preferencesChanged(); });
  call_ = std::make_unique<SessionProperty>(SessionProperty::kCall,
                                            [this] { guide_->hush(call_->isSet()); });
  for (const char* key :
       {"changed::speak", "changed::detail", "changed::rate", "changed::keep-awake"}) {
    connect<&Application::preferencesChanged>(settings_.get(), key, *this);
  }
  connect<&Application::positionsChanged>(settings_.get(), "changed::positions", *this);
  addActions();
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
      {"quit", act<&Application::quit>, nullptr, nullptr, nullptr, {}},
      {"page", turnPage, "s", nullptr, nullptr, {}}};
  g_action_map_add_action_entries(G_ACTION_MAP(application()), actions,
                                  static_cast<int>(std::size(actions)), this);
  const Ref<GAction> positions(g_settings_create_action(settings_.get(), "positions"));
  g_action_map_add_action(G_ACTION_MAP(application()), positions.get());

  constexpr const char* kKeys[][3] = {{"app.guiding", "<Control>g"},
                                      {"app.say-again", "<Control>r", "AudioPlay"},
                                      {"app.more", "<Control>m"},
                                      {"app.mend", "<Control>d"},
                                      {"app.preferences", "<Control>comma"},
                                      {"app.page::here", "<Alt>1"},
                                      {"app.page::around", "<Alt>2"},
                                      {"app.page::nearby", "<Alt>3"},
                                      {"window.close", "<Control>w"},
                                      {"app.quit", "<Control>q"}};
  for (const auto& [action, key, other] : kKeys) {
    const char* const keys[] = {key, other, nullptr};
    gtk_application_set_accels_for_action(GTK_APPLICATION(application()), action, keys);
  }
}

void Application::activate() {
  if (!guiding_) return;  // the options are of no use, and that has been said
  if (!window_) {
    window_ = std::make_unique<Window>(GTK_APPLICATION(application()), settings_.get());
    g_signal_connect(window_->widget(), "close-request", G_CALLBACK(onCloseRequest), this);
    window_->present();
    startGuiding();
  }
  window_->present();
  guideChanged();
}

gboolean Application::onCloseRequest(GtkWindow* /*window*/, gpointer self) {
  auto& application = *static_cast<Application*>(self);
  if (!application.guiding_->isGuiding()) {
    application.quit();
  } else {
    application.window_->hide();
    application.guideChanged();
  }
  return TRUE;
}

void Application::preferencesChanged() {
  guide_->setManner(
      {.speaksByItself = setting("speak"),
       .screenReader = screenReader_->isSet(),
       .detail = static_cast<guidance::Detail>(g_settings_get_enum(settings_.get(), "detail")),
       .language = guiding_->language()});
  const int rate = g_settings_get_int(settings_.get(), "rate");
  voice_->setRate(rate == 0 ? std::nullopt : std::optional(rate));
  keepAwake(guiding_->isGuiding() && setting("keep-awake"));
  guideChanged();
}

void Application::positionsChanged() {
  if (guiding_->isGuiding()) guiding_->start(wanted());
}

Guiding::Wanted Application::wanted() const {
  return {.info = networkFile(), .positions = setting("positions")};
}

void Application::startGuiding() {
  if (!guiding_->isGuiding()) g_application_hold(application());
  guiding_->start(wanted());
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
  if (window_ && !window_->isShown()) quit();
}

void Application::toggleGuiding() {
  if (guiding_->isGuiding()) {
    stopGuiding();
  } else {
    startGuiding();
  }
}

void Application::turnPage(GSimpleAction* /*action*/, GVariant* page, gpointer self) {
  const auto& window = static_cast<Application*>(self)->window_;
  if (window) window->turnTo(g_variant_get_string(page, nullptr));
}

void Application::sayMore() {
  guide_->sayMore();
  if (window_) window_->focusHere();  // which a screen reader reads
}

void Application::mend() {
  const auto trouble = guide_->trouble();
  if (!trouble) return;
  switch (trouble->remedy) {
    case Remedy::kSwitchBluetoothOn:
      switchBluetoothOn([this](const std::string& fault) { tell(fault); });
      break;
    case Remedy::kOpenSettings:
      openSettings(settingsOf(trouble->kind));
      break;
    case Remedy::kImportCredentials:
      chooseNetwork();
      break;
    case Remedy::kTryAgain:
      guiding_->tryAgain();
      break;
    case Remedy::kNone:
      break;
  }
}

void Application::chooseNetwork() {
  chooser_.reset(
      gtk_file_chooser_native_new(_("Import a Network"), window_ ? window_->widget() : nullptr,
                                  GTK_FILE_CHOOSER_ACTION_OPEN, _("_Import"), _("_Cancel")));
  g_signal_connect(chooser_.get(), "response",
                   G_CALLBACK(+[](GtkNativeDialog* chooser, int response, gpointer self) {
                     if (response != GTK_RESPONSE_ACCEPT) return;
                     const Ref<GFile> file(gtk_file_chooser_get_file(GTK_FILE_CHOOSER(chooser)));
                     static_cast<Application*>(self)->importNetwork(file.get());
                   }),
                   this);
  gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser_.get()));
}

void Application::importNetwork(GFile* file) {
  g_file_load_contents_async(
      file, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer self) {
        char* bytes = nullptr;
        gsize size = 0;
        Fault fault;
        g_file_load_contents_finish(G_FILE(source), result, &bytes, &size, nullptr, fault.out());
        const Text owned(bytes);
        auto& application = *static_cast<Application*>(self);
        const std::string problem =
            bytes == nullptr ? fault.message()
                             : guide::importNetwork({bytes, size}, importedNetwork(kIdentifier));
        application.tell(problem.empty() ? _("The network is imported.") : problem);
        if (problem.empty()) application.startGuiding();
      },
      this);
}

void Application::showPreferences() {
  if (window_) guide::showPreferences(window_->widget(), settings_.get());
}

void Application::showAbout() {
  if (!window_) return;
  adw_show_about_window(window_->widget(), "application-name", _("Brivane Guide"),
                        "application-icon", kIdentifier, "version", BRIVANE_VERSION, "comments",
                        _("Says which place you are near."), "license-type", GTK_LICENSE_APACHE_2_0,
                        "developer-name", _("The Brivane project"),
                        // Translators: your names, one a line.
                        "translator-credits", _("translator-credits"), nullptr);
}

void Application::quit() {
  stopGuiding();
  g_application_withdraw_notification(application(), kNotification);
  g_application_quit(application());
}

void Application::tell(const std::string& message) {
  if (window_) window_->tell(message);
}

void Application::guideChanged() {
  if (!guiding_) return;  // while it is made
  const auto trouble = guide_->trouble();
  enable("say-again", !guide_->lastSaid().empty());
  enable("more", guide_->places().here() != nullptr);
  enable("mend", trouble && trouble->remedy != Remedy::kNone);
  g_action_group_change_action_state(G_ACTION_GROUP(application()), "guiding",
                                     g_variant_new_boolean(guiding_->isGuiding()));
  if (window_ && window_->isShown()) {
    window_->show(*guide_, guiding_->isGuiding(), setting("positions"));
    // A trouble stands in the window by itself.
    if (guide_->notice() != std::exchange(noticed_, guide_->notice()) && !trouble) tell(noticed_);
  }
  notify();
}

void Application::enable(const char* action, bool enabled) {
  g_simple_action_set_enabled(
      G_SIMPLE_ACTION(g_action_map_lookup_action(G_ACTION_MAP(application()), action)), enabled);
}

void Application::notify() {
  std::string text;
  if (window_ && !window_->isShown() && guiding_->isGuiding()) {
    const Sighting* const here = guide_->places().here();
    const auto trouble = guide_->trouble();
    text = here != nullptr ? guidance::nameOf(*here->place) : _("Guiding");
    if (trouble) guidance::appendSentence(text, trouble->sentence);
  }
  if (text == std::exchange(notified_, text)) return;
  if (text.empty()) {
    g_application_withdraw_notification(application(), kNotification);
    return;
  }
  const Ref<GNotification> notification(g_notification_new(text.c_str()));
  g_notification_set_body(notification.get(), _("Guiding goes on until it is stopped."));
  g_notification_add_button(notification.get(), _("Say Again"), "app.say-again");
  g_notification_add_button(notification.get(), _("Stop"), "app.stop");
  g_application_send_notification(application(), kNotification, notification.get());
}

void Application::keepAwake(bool awake) {
  auto* const gtk = GTK_APPLICATION(application());
  if (awake && awake_ == 0) {
    awake_ = gtk_application_inhibit(gtk, window_ ? window_->widget() : nullptr,
                                     GTK_APPLICATION_INHIBIT_SUSPEND, _("Guiding"));
  } else if (!awake && awake_ != 0) {
    gtk_application_uninhibit(gtk, std::exchange(awake_, 0));
  }
}

std::string Application::networkFile() const {
  return options_.info.empty() ? importedNetwork(kIdentifier) : options_.info;
}

}  // namespace guide
