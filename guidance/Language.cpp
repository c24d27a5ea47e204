// SPDX-License-Identifier: Apache-2.0
#include "guidance/Language.h"

#include <libintl.h>

#include <clocale>
#include <filesystem>
#include <system_error>

#include "guidance/Text.h"

namespace guidance {

void useLanguageOfLocale() {
  std::setlocale(LC_CTYPE, "");
  std::setlocale(LC_MESSAGES, "");
  std::error_code fault;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", fault);
  const auto texts = program.parent_path().parent_path() / "share" / "locale";
  bindtextdomain(kTextDomain, texts.c_str());
  bind_textdomain_codeset(kTextDomain, "UTF-8");
}

}  // namespace guidance
