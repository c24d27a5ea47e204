// SPDX-License-Identifier: Apache-2.0
#include <glib.h>

#include <cstdio>
#include <exception>
#include <string>

#include "guidance/Language.h"
#include "guidance/Text.h"
#include "guide/application/Application.h"

namespace {

using guidance::N_;

constexpr int kWorldRefused = 1;
constexpr int kBadInput = 2;

int complain(const std::string& fault, int status) {
  std::fprintf(stderr, "brivane-guide: %s\n", fault.c_str());
  return status;
}

std::string orEmpty(const char* text) { return text != nullptr ? text : ""; }

/// What the command line says.
struct Arguments {
  guide::Guiding::Options guiding;
  gboolean isService = FALSE;
};

/// Reads it. What is wrong with it, in one line; else empty.
std::string read(int argc, char** argv, Arguments& arguments) {
  guide::Guiding::Options& options = arguments.guiding;
  g_autofree char* info = nullptr;
  g_autofree char* connect = nullptr;
  g_autofree char* ca = nullptr;
  g_autofree char* capture = nullptr;
  g_autofree char* track = nullptr;
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
      {"gapplication-service", 0, G_OPTION_FLAG_HIDDEN, G_OPTION_ARG_NONE, &arguments.isService,
       nullptr, nullptr},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  g_autoptr(GOptionContext) context = g_option_context_new(nullptr);
  g_option_context_add_main_entries(context, entries, guidance::kTextDomain);
  g_autoptr(GError) fault = nullptr;
  if (g_option_context_parse(context, &argc, &argv, &fault) == FALSE) return fault->message;
  options.info = orEmpty(info);
  options.connect = orEmpty(connect);
  options.ca = orEmpty(ca);
  options.capture = orEmpty(capture);
  options.track = orEmpty(track);
  if (argc > 1) return std::string(argv[1]) + ": takes no such argument; see --help";
  if (!(options.speed > 0.0)) return "--speed: not above 0";
  if (options.capture.empty() && !options.track.empty()) return "--track: takes --capture too";
  return "";
}

}  // namespace

int main(int argc, char** argv) {
  guidance::useLanguageOfLocale();
  Arguments arguments;
  if (const std::string fault = read(argc, argv, arguments); !fault.empty()) {
    return complain(fault, kBadInput);
  }
  try {
    guide::Application application(arguments.isService != FALSE);
    if (!application.isElsewhere()) {
      application.prepare(arguments.guiding);
    } else if (arguments.guiding != guide::Guiding::Options()) {
      return complain("it runs already; quit that first", kWorldRefused);
    }
    return application.run();
  } catch (const std::exception& fault) {
    return complain(fault.what(), kBadInput);
  }
}
