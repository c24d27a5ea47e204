// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

#include "service/Certificate.h"

namespace service {

/// The service's certificate and key in a folder of the user's, made on the first start and kept.
class CertificateStore {
 public:
  /// The folder "brivane-service" in the user's state folder ($XDG_STATE_HOME, or ~/.local/state).
  static std::filesystem::path defaultFolder();

  explicit CertificateStore(std::filesystem::path folder);

  /// The certificate for `hostName`, made anew when there is none, it is for another host, or it
  /// ends within a day. The key's file is its owner's alone. Throws std::runtime_error naming the
  /// file that cannot be written.
  Certificate open(const std::string& hostName) const;

  std::filesystem::path certificatePath() const { return folder_ / "certificate.pem"; }
  std::filesystem::path keyPath() const { return folder_ / "key.pem"; }

 private:
  const std::filesystem::path folder_;
};

}  // namespace service
