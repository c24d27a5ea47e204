// SPDX-License-Identifier: Apache-2.0
#include "service/Faults.h"

#include <charconv>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace service {
namespace {

const std::map<std::string_view, FaultKind>& kinds() {
  static const std::map<std::string_view, FaultKind> only = {{"delay", FaultKind::kDelay},
                                                             {"drop", FaultKind::kDrop},
                                                             {"reset", FaultKind::kReset},
                                                             {"bad-json", FaultKind::kBadJSON},
                                                             {"status-500", FaultKind::kStatus500}};
  return only;
}

template <typename Number>
Number numberFrom(std::string_view text, Number limit, const char* what) {
  Number value{};
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isNumber = read.ec == std::errc() && read.ptr == text.data() + text.size();
  if (!isNumber || !(value >= 0 && value <= limit)) {
    throw std::invalid_argument("'" + std::string(text) + "' is not " + what);
  }
  return value;
}

}  // namespace

Fault Fault::parse(const std::string& text) {
  const std::string_view whole(text);
  const std::string_view name = whole.substr(0, whole.find('='));
  const auto kind = kinds().find(name);
  if (kind == kinds().end()) {
    std::string known;
    for (const auto& [each, value] : kinds()) known.append(known.empty() ? "" : ", ").append(each);
    throw std::invalid_argument("'" + std::string(name) + "' is none of " + known);
  }
  if (name.size() == whole.size()) throw std::invalid_argument("'" + text + "' is not KIND=RATE");
  std::string_view rate = whole.substr(name.size() + 1);
  Fault fault{.kind = kind->second};
  if (fault.kind == FaultKind::kDelay) {
    const std::size_t colon = rate.find(':');
    if (colon == std::string_view::npos) {
      throw std::invalid_argument("'" + text + "' is not delay=RATE:MILLISECONDS");
    }
    fault.delay = std::chrono::milliseconds(
        numberFrom(rate.substr(colon + 1), 3'600'000, "a number of milliseconds up to an hour"));
    rate = rate.substr(0, colon);
  }
  fault.rate = numberFrom(rate, 1.0, "a rate from 0 to 1");
  return fault;
}

Faults::Faults(std::vector<Fault> faults, std::uint64_t seed)
    : faults_(std::move(faults)), chance_(seed) {}

std::optional<Fault> Faults::next() {
  const std::lock_guard lock(mutex_);
  for (const Fault& fault : faults_) {
    // A range of 2^53 steps: the same on every machine, which a library's distribution is not.
    const double drawn = static_cast<double>(chance_() >> 11U) * 0x1p-53;
    if (drawn < fault.rate) return fault;
  }
  return std::nullopt;
}

}  // namespace service
