#include "platform/files/PlistPropertyList.h"

#include <plist/plist.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace platform {
namespace {

constexpr std::size_t kMaxBytes = 1 << 20;

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string contents;
  std::array<char, 4096> part{};
  errno = 0;
  do {
    file.read(part.data(), part.size());
    contents.append(part.data(), static_cast<std::size_t>(file.gcount()));
  } while (file && contents.size() <= kMaxBytes);
  if (!file.is_open() || file.bad() || errno != 0) {
    throw std::runtime_error(path + ": " + std::generic_category().message(errno));
  }
  if (contents.size() > kMaxBytes) throw std::runtime_error(path + ": larger than 1 MiB");
  return contents;
}

}  // namespace

void PlistPropertyList::Free::operator()(void* node) const { plist_free(node); }

PlistPropertyList::PlistPropertyList(const std::string& path) {
  const std::string contents = contentsOf(path);
  plist_t root = nullptr;
  plist_from_memory(contents.data(), static_cast<std::uint32_t>(contents.size()), &root);
  root_.reset(root);
  if (root == nullptr) throw std::runtime_error(path + ": not a property list");
  if (plist_get_node_type(root) != PLIST_DICT) {
    throw std::runtime_error(path + ": no dictionary at the top of the property list");
  }
}

std::optional<std::string> PlistPropertyList::objectForInfoDictionaryKey(
    std::string_view key) const {
  void* const value = plist_dict_get_item(root_.get(), std::string(key).c_str());
  if (value == nullptr || plist_get_node_type(value) != PLIST_STRING) return std::nullopt;
  // Not plist_get_string_val, nor an iteration over the keys: these end the process at a text with
  // a zero byte in it.
  std::uint64_t length = 0;
  const char* const text = plist_get_string_ptr(value, &length);
  return text == nullptr ? std::nullopt : std::optional(std::string(text, length));
}

}  // namespace platform
