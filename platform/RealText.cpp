// SPDX-License-Identifier: Apache-2.0
#include "platform/RealText.h"

#include <array>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <new>
#include <system_error>

#if __has_include(<xlocale.h>)
#  include <xlocale.h>  // where <clocale> has no newlocale
#endif

namespace platform {
namespace {

bool isPlain(double value) {
  const double magnitude = std::abs(value);
  return magnitude == 0.0 || (magnitude >= 1e-4 && magnitude < 1e16);
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The locale "C", whatever the host's is; kept until the process ends.
locale_t plainLocale() {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  if (plain == nullptr) throw std::bad_alloc();
  return plain;
}

/// Slower than std::from_chars, as exact, and tells what is too large from what is too small.
LeadingReal readByCLibrary(std::string_view number) {
  const std::string digits(number.substr(0, number.find_first_not_of("0123456789.eE+-")));
  char* end = nullptr;
  const double value = strtod_l(digits.c_str(), &end, plainLocale());
  return {value, static_cast<std::size_t>(end - digits.c_str())};
}

/// libc++, which phones use, has this from LLVM 20 on.
template <typename Real>
concept IsReadByStandardLibrary = requires(const char* text, Real& value) {
  std::from_chars(text, text, value);
};

template <typename Real>
LeadingReal leadingMagnitude(std::string_view number) {
  if constexpr (IsReadByStandardLibrary<Real>) {
    Real value = 0;
    const auto read = std::from_chars(number.data(), number.data() + number.size(), value);
    if (read.ec != std::errc::result_out_of_range) {
      return {value, static_cast<std::size_t>(read.ptr - number.data())};
    }
  }
  return readByCLibrary(number);
}

}  // namespace

std::string realText(double value) {
  const auto form = isPlain(value) ? std::chars_format::fixed : std::chars_format::scientific;
  std::array<char, 32>
      digits{};  // at most 17 significant ones, "-0.000" before them or "e-308" after
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, form);
  return {digits.data(), end.ptr};
}

LeadingReal leadingReal(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  // What reads would take "inf" and "nan" for numbers.
  if (text.empty() || (!isDigit(text.front()) && text.front() != '.')) return {};
  const LeadingReal magnitude = leadingMagnitude<double>(text);
  if (!negative || magnitude.length == 0) return magnitude;
  return {-magnitude.value, magnitude.length + 1};
}

}  // namespace platform
