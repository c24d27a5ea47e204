// SPDX-License-Identifier: Apache-2.0
#include <glib.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "guidance/Language.h"
#include "guidance/Text.h"
#include "guide/application/Application.h"
#include "guide/application/GObject.h"
#include "guide/application/Options.h"

namespace {

using guidance::N_;

constexpr int kWorldRefused = 1;
constexpr int kBadInput = 2;

int complain(const std::string& fault, int status) {
  std::fprintf(stderr, "brivane-guide: %s\n", fault.c_str());
  return status;
}

/// The text of an option, which GLib has allocated; absent when it was not given.
std::optional<std::string> taken(char* text) {
  const guide::Text owned(text);
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

/// Reads the command line into `options`. What is wrong with it, in one line; else empty.
std::string read(int argc, char** argv, guide::Options& options) {
  char* info = nullptr;
  char* connect = nullptr;
  char* ca = nullptr;
  char* capture = nullptr;
  char* track = nullptr;
  gboolean service = FALSE;
  const GOptionEntry entries[] = {
      {"info", 0, 0, G_OPTION_ARG_FILENAME, &info,
       N_("Property list of the network, in place of the imported one"), N_("FILE")},
      {"connect", 0, 0, G_OPTION_ARG_STRING, &connect,
       N_("Connect there in place of the service’s own host"), "HOST:PORT"},
      {"ca", 0, 0, G_OPTION_ARG_FILENAME, &ca, N_("Certificates to trust, PEM"), N_("FILE")},
      {"capture", 0, 0, G_OPTION_ARG_FILENAME, &capture,
       N_("Play this btsnoop capture in place of the radio"), N_("FILE")},
      {"track", 0, 0, G_OPTION_ARG_FILENAME, &track, N_("Play this GPX track with it"), N_("FILE")},
      {"speed", 0, 0, G_OPTION_ARG_DOUBLE, &options.speed,
       N_("Play so many times as fast as recorded"), "N"},
      {"gapplication-service", 0, G_OPTION_FLAG_HIDDEN, G_OPTION_ARG_NONE, &service, nullptr,
       nullptr},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  const std::unique_ptr<GOptionContext, decltype(&g_option_context_free)> context(
      g_option_context_new(nullptr), g_option_context_free);
  g_option_context_add_main_entries(context.get(), entries, guidance::kTextDomain);
  guide::Fault fault;
  if (g_option_context_parse(context.get(), &argc, &argv, fault.out()) == FALSE) {
    return fault.message();
  }
  options.info = taken(info).value_or("");
  options.connect = taken(connect).value_or("");
  options.ca = taken(ca).value_or("");
  options.capture = taken(capture).value_or("");
  options.track = taken(track).value_or("");
  options.service = service != FALSE;
  if (argc > 1) return std::string(argv[1]) + ": takes no such argument; see --help";
  if (!(options.speed > 0.0)) return "--speed: not above 0";
  if (options.capture.empty() && !options.track.empty()) return "--track: takes --capture too";
  return "";
}

}  // namespace

int main(int argc, char** argv) {
  guidance::useLanguageOfLocale();
  guide::Options options;
  if (const std::string fault = read(argc, argv, options); !fault.empty()) {
    return complain(fault, kBadInput);
  }
  try {
    guide::Application application(options);
    if (!application.isElsewhere()) {
      application.prepare();
    } else if (options.hasSource()) {
      return complain("it runs already; quit that first", kWorldRefused);
    }
    return application.run();
  } catch (const std::exception& fault) {
    return complain(fault.what(), kBadInput);
  }
}
