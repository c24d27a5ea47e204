// SPDX-License-Identifier: Apache-2.0
#include "platform/TransferOutcome.h"

#include <cstddef>

namespace platform {

std::string endpointOf(std::string_view url) {
  const std::size_t scheme = url.find("://");
  const std::size_t path = url.find('/', scheme == url.npos ? 0 : scheme + 3);
  return path == url.npos ? "/"
                          : std::string(url.substr(path, url.find_first_of("?#", path) - path));
}

}  // namespace platform
