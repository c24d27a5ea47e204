// SPDX-License-Identifier: Apache-2.0
#include "platform/files/PlistPropertyList.h"

#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>

namespace platform {
namespace {

constexpr std::size_t kMaxBytes = 1 << 20;
/// libplist goes down into each with a call to itself, and a thread's stack may be small.
constexpr std::size_t kMaxContainers = 1000;

/// A file descriptor that is closed when this goes; negative when there is none.
struct Descriptor {
  explicit Descriptor(const std::string& path)
      : number(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
  ~Descriptor() {
    if (number >= 0) close(number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  const int number;
};

[[noreturn]] void refuse(const std::string& path, const std::string& fault) {
  throw std::runtime_error(path + ": " + fault);
}

std::string contentsOf(const std::string& path) {
  const Descriptor file(path);
  struct stat status {};
  if (file.number < 0 || fstat(file.number, &status) != 0) {
    refuse(path, std::generic_category().message(errno));
  }
  if (!S_ISREG(status.st_mode)) refuse(path, "not a file");
  std::string contents;
  std::array<char, 4096> part{};
  while (contents.size() <= kMaxBytes) {
    const ssize_t size = read(file.number, part.data(), part.size());
    if (size == 0) return contents;
    if (size < 0) refuse(path, std::generic_category().message(errno));
    contents.append(part.data(), static_cast<std::size_t>(size));
  }
  refuse(path, "larger than 1 MiB");
}

std::size_t occurrences(const std::string& text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

/// The big-endian number in `bytes`.
std::uint64_t numberIn(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes) number = number << 8U | static_cast<unsigned char>(byte);
  return number;
}

/// How many objects of a binary property list are dictionaries or lists. Its last 32 bytes say how
/// many objects there are and where the table of their places stands.
std::size_t binaryContainers(std::string_view list) {
  constexpr std::size_t kTrailer = 32;
  if (list.size() < kTrailer) return 0;
  const std::string_view trailer = list.substr(list.size() - kTrailer);
  const auto placeSize = static_cast<std::size_t>(numberIn(trailer.substr(6, 1)));
  const std::uint64_t objects = numberIn(trailer.substr(8, 8));
  std::size_t containers = 0;
  std::uint64_t at = numberIn(trailer.substr(24, 8));
  for (std::uint64_t i = 0; i < objects && at < list.size() && placeSize > 0;
       ++i, at += placeSize) {
    const std::uint64_t place = numberIn(list.substr(at, placeSize));
    const unsigned kind = place < list.size() ? static_cast<unsigned char>(list[place]) >> 4U : 0;
    if (kind == 0xA || kind == 0xD) ++containers;
  }
  return containers;
}

/// No list is nested deeper than it has dictionaries and lists.
std::size_t containersIn(const std::string& list) {
  return list.starts_with("bplist") ? binaryContainers(list)
                                    : occurrences(list, "<dict") + occurrences(list, "<array");
}

}  // namespace

void PlistPropertyList::Free::operator()(void* node) const { plist_free(node); }

PlistPropertyList::PlistPropertyList(const std::string& path) {
  const std::string contents = contentsOf(path);
  if (containersIn(contents) > kMaxContainers) {
    refuse(path, "more than 1000 dictionaries and lists");
  }
  plist_t root = nullptr;
  plist_from_memory(contents.data(), static_cast<std::uint32_t>(contents.size()), &root);
  root_.reset(root);
  if (root == nullptr) refuse(path, "not a property list");
  if (plist_get_node_type(root) != PLIST_DICT) {
    refuse(path, "no dictionary at the top of the property list");
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
