// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <adwaita.h>

#include <memory>
#include <string>

#include "guidance/Guide.h"
#include "guidance/Voice.h"
#include "guide/Guiding.h"
#include "guide/application/GObject.h"
#include "guide/application/MediaKeys.h"
#include "guide/application/Window.h"

namespace guide {

/// The application: its actions, its window, and what it does without one.
class Application {
 public:
  /// Registers with the session's bus; `isService` when that has started it, and says what to do
  /// next.
  explicit Application(bool isService);
  ~Application();
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  /// Whether another process is the application, to which `run` only passes on that it is wanted.
  bool isElsewhere() const { return g_application_get_is_remote(application()) != FALSE; }

  /// Sets out to guide; without a property list in `options`, with the imported one. Throws
  /// std::exception, one line for a person, for an option or a file that cannot be used. Not when
  /// it is elsewhere.
  void prepare(Guiding::Options options);

  /// Runs until it is quit; the exit status.
  int run() { return g_application_run(application(), 0, nullptr); }

 private:
  GApplication* application() const { return G_APPLICATION(application_.get()); }

  /// The handler of an action without a parameter.
  template <auto method>
  static void act(GSimpleAction* action, GVariant* parameter, gpointer self);
  void addActions();
  void enable(const char* action, bool enabled);

  void activate();
  void windowHidden();
  void preferencesChanged();
  void positionsChanged();
  void guideChanged();

  void startGuiding();
  void stopGuiding();
  void toggleGuiding();
  /// Stops guiding, and the program too when it has no window.
  void stop();
  void sayAgain() { guide_->sayAgain(); }
  void sayMore();
  void mend();
  void chooseNetwork();
  static void networkChosen(GtkFileChooser* chooser, int response, gpointer self);
  void networkRead(const std::string& fault);
  void showPreferences() { window_->present("preferences"); }
  void showAbout() { window_->present("about"); }
  void quit();

  void notify();
  void keepAwake(bool awake);
  bool setting(const char* key) const {
    return g_settings_get_boolean(settings_.get(), key) != FALSE;
  }

  const Ref<AdwApplication> application_;
  const Ref<GSettings> settings_;
  std::unique_ptr<guidance::Voice> voice_;
  std::unique_ptr<Guide> guide_;
  std::unique_ptr<Guiding> guiding_;
  std::unique_ptr<MediaKeys> mediaKeys_;
  std::unique_ptr<Window> window_;
  bool hasScreenReader_ = false;
  /// Cookie of the request to stay awake; 0 without one.
  unsigned awake_ = 0;
  /// The notice that was shown last.
  std::string noticed_;
  /// What the notification says; empty while there is none.
  std::string notified_;
};

}  // namespace guide
