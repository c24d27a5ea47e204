// SPDX-License-Identifier: Apache-2.0
#include "service/FormBody.h"

#include <cstddef>
#include <iterator>

namespace service {
namespace {

/// Where the pair of `key` begins in `body`, with the "&" before it; npos when there is none.
std::size_t pairOf(std::string_view key, std::string_view body) {
  const std::string pair = std::string(key) + "=";
  return body.starts_with(pair) ? 0 : body.rfind("&" + pair);
}

}  // namespace

Fields parseFormBody(std::string_view body, std::initializer_list<std::string_view> keys) {
  std::map<std::size_t, std::string_view> begins;
  for (const std::string_view key : keys) begins.emplace(pairOf(key, body), key);
  begins.erase(std::string_view::npos);
  Fields fields;
  for (auto pair = begins.begin(); pair != begins.end(); ++pair) {
    const auto& [begin, key] = *pair;
    const std::size_t value = begin + (begin > 0 ? 1 : 0) + key.size() + 1;
    const auto next = std::next(pair);
    const std::size_t end = next == begins.end() ? body.size() : next->first;
    fields[std::string(key)] = body.substr(value, end - value);
  }
  return fields;
}

}  // namespace service
