// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libintl.h>

#include <initializer_list>
#include <string>
#include <string_view>

namespace guidance {

/// The gettext domain of everything that is said to a person. The program binds it.
inline constexpr const char* kTextDomain = "brivane";

// Names that xgettext knows: --keyword=_ --keyword=N_ --keyword=P_:1,2

/// `text` in the person's language.
inline const char* _(const char* text) { return dgettext(kTextDomain, text); }

/// Marks a text that is translated where it is used.
constexpr const char* N_(const char* text) { return text; }

/// The form of the text that goes with `count`.
inline const char* P_(const char* one, const char* many, unsigned long count) {
  return dngettext(kTextDomain, one, many, count);
}

/// The language of these texts, as a voice is to be told.
inline const char* textLanguage() {
  // Translators: the code of your language, such as "es".
  return _("en");
}

/// `pattern` with "%1" to "%9" replaced by the values, which a translation may put in another
/// order.
std::string filled(std::string_view pattern, std::initializer_list<std::string_view> values);

}  // namespace guidance
