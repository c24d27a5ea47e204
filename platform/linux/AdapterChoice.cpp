// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/AdapterChoice.h"

#include <algorithm>
#include <cctype>

namespace platform {
namespace {

/// Addresses may be written in either case.
bool isSameAddress(const std::string& a, const std::string& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::toupper(x) == std::toupper(y);
  });
}

}  // namespace

BlueZAdapter* AdapterChoice::find(const std::string& path) {
  const auto found = adapters_.find(path);
  return found != adapters_.end() ? &found->second : nullptr;
}

std::string AdapterChoice::choose() {
  const Entry* best = nullptr;
  int bestRank = -1;
  for (const Entry& adapter : adapters_) {
    const auto its = rank(adapter);
    if (!its || *its <= bestRank) continue;
    best = &adapter;
    bestRank = *its;
  }
  if (best == nullptr) return "";
  if (!wanted_.empty()) address_ = best->second.address;
  return best->first;
}

std::optional<int> AdapterChoice::rank(const Entry& adapter) const {
  const auto& [path, its] = adapter;
  const bool isProven = !address_.empty() && its.address == address_;
  if (wanted_.empty()) return (its.powered ? 2 : 0) + (isProven ? 1 : 0);
  const bool isWanted = path == "/org/bluez/" + wanted_ || isSameAddress(its.address, wanted_);
  if (!isWanted && !isProven) return std::nullopt;
  return (isProven ? 2 : 0) + (its.powered ? 1 : 0);
}

}  // namespace platform
