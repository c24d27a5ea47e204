// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/UUID.h"

namespace platform {

/// Makes identifiers that nobody else has. Called on any thread, several at once, about once in the
/// life of an installation.
class BRIVANE_EXPORT RandomUUID {
 public:
  virtual ~RandomUUID() = default;

  /// A new random (version 4) UUID, from a source that nobody can foretell. Throws a std::exception
  /// when there is none.
  virtual UUID generate() = 0;
};

}  // namespace platform
