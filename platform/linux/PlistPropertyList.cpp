#include "platform/linux/PlistPropertyList.h"

#include <plist/plist.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <type_traits>

namespace platform {
namespace {

constexpr std::size_t kMaxBytes = 1 << 20;

struct Free {
  void operator()(std::remove_pointer_t<plist_t>* node) const { plist_free(node); }
  void operator()(char* memory) const { std::free(memory); }  // NOLINT: the C library's memory
};
using Node = std::unique_ptr<std::remove_pointer_t<plist_t>, Free>;
using Text = std::unique_ptr<char, Free>;

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string contents(kMaxBytes + 1, '\0');
  errno = 0;
  file.read(contents.data(), static_cast<std::streamsize>(contents.size()));
  if (!file.is_open() || file.bad() || errno != 0) {
    throw std::runtime_error(path + ": " + std::generic_category().message(errno));
  }
  contents.resize(static_cast<std::size_t>(file.gcount()));
  if (contents.size() > kMaxBytes) throw std::runtime_error(path + ": larger than 1 MiB");
  return contents;
}

Node parse(const std::string& path) {
  const std::string contents = contentsOf(path);
  plist_t root = nullptr;
  plist_from_memory(contents.data(), static_cast<std::uint32_t>(contents.size()), &root);
  Node node(root);
  if (root == nullptr) throw std::runtime_error(path + ": not a property list");
  if (plist_get_node_type(root) != PLIST_DICT) {
    throw std::runtime_error(path + ": no dictionary at the top of the property list");
  }
  return node;
}

}  // namespace

PlistPropertyList::PlistPropertyList(const std::string& path) {
  const Node root = parse(path);
  plist_dict_iter position = nullptr;
  plist_dict_new_iter(root.get(), &position);
  const Text ownedPosition(static_cast<char*>(position));
  for (;;) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(root.get(), position, &key, &value);
    const Text ownedKey(key);
    if (value == nullptr) return;
    if (plist_get_node_type(value) != PLIST_STRING) continue;
    char* text = nullptr;
    plist_get_string_val(value, &text);
    const Text ownedText(text);
    if (key != nullptr && text != nullptr) texts_.emplace(key, text);
  }
}

std::optional<std::string> PlistPropertyList::objectForInfoDictionaryKey(
    std::string_view key) const {
  const auto found = texts_.find(key);
  return found == texts_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace platform
