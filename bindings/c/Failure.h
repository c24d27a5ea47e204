// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "bindings/c/brivane.h"

namespace brivane::internal {

/// Writes why a call failed, shortened to fit, unless `failure` is null; returns `status`.
brivane_status fail(brivane_failure* failure, brivane_status status, const std::string& text);

/// The same for the exception that is being handled.
brivane_status failWithException(brivane_failure* failure);

/// A line in the installed log, if there is one, for the exception that is being handled.
void logException();

/// Throws std::invalid_argument, which says what is missing, unless something is there.
void require(bool present, const char* what);

/// The same; what is there.
template <typename Type>
const Type& required(const Type* given, const char* what) {
  require(given != nullptr, what);
  return *given;
}

/// Calls what may throw: nothing leaves it.
template <typename Call>
brivane_status guarded(brivane_failure* failure, const Call& call) {
  try {
    call();
    return BRIVANE_OK;
  } catch (...) {
    return failWithException(failure);
  }
}

/// The same where nobody hears of a failure but the log.
template <typename Call>
auto quietly(const Call& call) -> decltype(call()) {
  try {
    return call();
  } catch (...) {
    logException();
    return decltype(call())();
  }
}

/// The text, or null where there is none.
inline const char* orNull(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

inline std::string orEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace brivane::internal
