// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/Session.h"

namespace brivane::internal {

Session& session() {
  static auto& only = *new Session;
  return only;
}

}  // namespace brivane::internal
