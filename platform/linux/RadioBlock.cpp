// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/RadioBlock.h"

#include <algorithm>
#include <fstream>
#include <system_error>

namespace platform {
namespace {

/// The one word of a file; empty when it cannot be read.
std::string wordIn(const std::filesystem::path& file) {
  std::string word;
  std::ifstream(file) >> word;
  return word;
}

RadioBlock blockBy(const std::filesystem::path& control) {
  if (wordIn(control / "hard") == "1") return RadioBlock::kHard;
  return wordIn(control / "soft") == "1" ? RadioBlock::kSoft : RadioBlock::kNone;
}

}  // namespace

RadioBlock radioBlockOf(const std::string& name, const std::filesystem::path& switches) {
  RadioBlock block = RadioBlock::kNone;
  std::error_code absent;
  for (const auto& control : std::filesystem::directory_iterator(switches, absent)) {
    const bool isMeant = name.empty() ? wordIn(control.path() / "type") == "bluetooth"
                                      : wordIn(control.path() / "name") == name;
    if (isMeant) block = std::max(block, blockBy(control.path()));
  }
  return block;
}

}  // namespace platform
