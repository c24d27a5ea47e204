// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVError.h"

#include <array>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 2> errMap = {"No error", "No location services enabled"};

}  // namespace

std::shared_ptr<const BVError> BVError::newError(std::int32_t code) {
  auto error = std::make_shared<BVError>();
  error->setErrorCode(code);
  error->setErrorString(std::string(errMap.at(static_cast<std::uint32_t>(code))));
  return error;
}
