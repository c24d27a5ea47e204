// SPDX-License-Identifier: Apache-2.0
#include "testing/BeginAnew.h"

#include "BrivaneSDK/ForgetState.h"
#include "platform/ForgetServices.h"

namespace brivane::testing {

void beginAnew() {
  internal::forgetState();
  internal::forgetServices();
}

}  // namespace brivane::testing
