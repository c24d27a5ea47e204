// SPDX-License-Identifier: Apache-2.0
#include "service/ReadFile.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace service {

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + ": " + std::generic_category().message(errno));
  std::error_code unknown;
  if (std::filesystem::is_directory(path, unknown)) throw std::runtime_error(path + ": not a file");
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace service
