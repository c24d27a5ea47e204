// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/HTTPClient.h"

namespace platform {

/// What a request asks, as far as its answer may be kept or be given without the service.
struct Question {
  enum class Kind {
    kLogin,
    kSync,
    /// Which beacon has an identity, or which places are near a coordinate.
    kLasting,
    kOther,
  };

  Kind kind = Kind::kOther;
  /// The host, and the port where it has one, that the request goes to.
  std::string network;
  /// The same for requests that one answer serves; of a lasting question alone. A beacon's identity
  /// serves whatever its strength, and a coordinate the next ten metres: what is read off a map is
  /// no more exact.
  std::string key;

  /// Reads a request as the library's service client writes it: form fields in the order of their
  /// names, nothing escaped.
  static Question of(const HTTPRequest& request);
};

}  // namespace platform
