// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace guidance {

/// Has what is said to a person be said in the language of the locale, where there is a
/// translation: share/locale is looked for beside the folder of the program, wherever that was
/// installed. Once, before any other thread.
void useLanguageOfLocale();

}  // namespace guidance
