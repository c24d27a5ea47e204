// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "guidance/Language.h"
#include "guidance/Text.h"
#include "guide/application/Application.h"

namespace {

using guidance::_;

constexpr int kWorldRefused = 1;
constexpr int kBadInput = 2;

int complain(const std::string& fault, int status) {
  std::fprintf(stderr, "brivane-guide: %s\n", fault.c_str());
  return status;
}

void describe(CLI::App& line, guide::Guiding::Options& options, bool& isService) {
  const auto add = [&line](const char* name, auto& value, const char* text, const char* kind) {
    return line.add_option(name, value, text)->type_name(kind);
  };
  add("--info", options.info, _("Property list of the network, in place of the imported one"),
      _("FILE"));
  add("--connect", options.connect, _("Connect there in place of the service’s own host"),
      "HOST:PORT");
  add("--ca", options.ca, _("Certificates to trust, PEM"), _("FILE"));
  auto* const capture = add("--capture", options.capture,
                            _("Play this btsnoop capture in place of the radio"), _("FILE"));
  add("--track", options.track, _("Play this GPX track with it"), _("FILE"))->needs(capture);
  add("--speed", options.speed, _("Play so many times as fast as recorded"), "N")
      ->check(CLI::Range(0.01, 1000.0));
  line.add_flag("--gapplication-service", isService)->group("");  // what the bus starts it with
}

}  // namespace

int main(int argc, char** argv) {
  guidance::useLanguageOfLocale();
  guide::Guiding::Options options;
  bool isService = false;
  CLI::App line(_("Says which place you are near."));
  describe(line, options, isService);
  try {
    line.parse(argc, argv);
    guide::Application application(isService);
    if (!application.isElsewhere()) {
      application.prepare(options);
    } else if (options != guide::Guiding::Options()) {
      return complain("it runs already; quit that first", kWorldRefused);
    }
    return application.run();
  } catch (const CLI::Success& help) {
    return line.exit(help);
  } catch (const std::exception& fault) {
    return complain(fault.what(), kBadInput);
  }
}
