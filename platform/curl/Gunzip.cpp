// SPDX-License-Identifier: Apache-2.0
#include "platform/curl/Gunzip.h"

#include <array>
#include <new>

namespace platform {
namespace {

constexpr int kGzipOfAnyWindow = 15 + 16;

}  // namespace

Gunzip::Gunzip() {
  if (inflateInit2(&stream_, kGzipOfAnyWindow) != Z_OK) throw std::bad_alloc();
}

Gunzip::~Gunzip() { inflateEnd(&stream_); }

const char* Gunzip::unpack(std::string_view packed, std::string& out, std::size_t limit) {
  stream_.next_in = reinterpret_cast<const Bytef*>(packed.data());
  stream_.avail_in = static_cast<uInt>(packed.size());
  std::array<char, 16384> part;
  do {
    if (isWhole_) return "the reply goes on where its compression ends";
    stream_.next_out = reinterpret_cast<Bytef*>(part.data());
    stream_.avail_out = static_cast<uInt>(part.size());
    const int result = inflate(&stream_, Z_NO_FLUSH);
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
      return "the reply's compression is broken";
    }
    const std::size_t size = part.size() - stream_.avail_out;
    if (size > limit - out.size()) return "the reply is too large";
    out.append(part.data(), size);
    isWhole_ = result == Z_STREAM_END;
  } while (stream_.avail_in > 0 || (stream_.avail_out == 0 && !isWhole_));
  return nullptr;
}

}  // namespace platform
