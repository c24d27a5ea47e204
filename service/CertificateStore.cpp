// SPDX-License-Identifier: Apache-2.0
#include "service/CertificateStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace service {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds kClockSkew = 1h;
constexpr std::chrono::seconds kMargin = 24h;
constexpr std::chrono::seconds kLifetime = 24h * 365;

std::string contentsOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

[[noreturn]] void refuse(const std::filesystem::path& path, int error) {
  throw std::runtime_error(path.string() + ": " + std::generic_category().message(error));
}

/// Writes a new file beside `path` and puts it in its place, so that the mode holds from the start.
void write(const std::filesystem::path& path, const std::string& contents, mode_t mode) {
  const std::string fresh = path.string() + ".new";
  unlink(fresh.c_str());
  const int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (descriptor < 0) refuse(fresh, errno);
  const ssize_t written = ::write(descriptor, contents.data(), contents.size());
  const int error = written < 0 ? errno : ENOSPC;
  close(descriptor);
  if (written != static_cast<ssize_t>(contents.size())) refuse(fresh, error);
  if (rename(fresh.c_str(), path.c_str()) != 0) refuse(path, errno);
}

}  // namespace

std::filesystem::path CertificateStore::defaultFolder() {
  const char* const state = std::getenv("XDG_STATE_HOME");
  if (state != nullptr && *state == '/') return std::filesystem::path(state) / "brivane-service";
  const char* const home = std::getenv("HOME");
  return std::filesystem::path(home != nullptr ? home : ".") / ".local/state/brivane-service";
}

CertificateStore::CertificateStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

Certificate CertificateStore::open(const std::string& hostName) const {
  Certificate kept{contentsOf(certificatePath()), contentsOf(keyPath())};
  if (!kept.keyPEM.empty() && isValidFor(kept.certificatePEM, hostName, kMargin)) return kept;
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  if (error) refuse(folder_, error.value());
  Certificate made = makeCertificate(hostName, -kClockSkew, kLifetime);
  write(keyPath(), made.keyPEM, 0600);
  write(certificatePath(), made.certificatePEM, 0644);
  return made;
}

}  // namespace service
