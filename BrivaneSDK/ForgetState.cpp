// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/ForgetState.h"

#include <memory>

#include "BrivaneSDK/DetectionState.h"
#include "BrivaneSDK/Session.h"

namespace brivane::internal {
namespace {

template <typename State>
void renew(State& state) {
  std::destroy_at(&state);
  std::construct_at(&state);
}

}  // namespace

void forgetState() {
  renew(session());
  renew(detectionState());
}

}  // namespace brivane::internal
