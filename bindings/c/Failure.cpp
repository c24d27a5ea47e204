// SPDX-License-Identifier: Apache-2.0
#include "bindings/c/Failure.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <new>
#include <stdexcept>

#include "BrivaneSDK/BVException.h"
#include "platform/HostCall.h"
#include "platform/Services.h"

namespace brivane::internal {

brivane_status fail(brivane_failure* failure, brivane_status status, const std::string& text) {
  if (failure == nullptr) return status;
  std::size_t length = std::min(text.size(), sizeof(failure->text) - 1);
  const auto continues = [&](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
  };
  while (length > 0 && length < text.size() && continues(length)) --length;
  failure->status = status;
  text.copy(failure->text, length);
  failure->text[length] = '\0';
  return status;
}

brivane_status failWithException(brivane_failure* failure) {
  try {
    throw;
  } catch (const BVException& fault) {
    return fail(failure,
                fault.name() == "BVAPICredentialsNotFound" ? BRIVANE_CREDENTIALS_NOT_FOUND
                                                           : BRIVANE_LOCATION_AUTH_ERROR,
                fault.reason());
  } catch (const std::invalid_argument& fault) {
    return fail(failure, BRIVANE_INVALID_ARGUMENT, fault.what());
  } catch (const std::logic_error& fault) {
    return fail(failure, BRIVANE_WRONG_STATE, fault.what());
  } catch (const std::exception& fault) {
    return fail(failure, BRIVANE_FAILED, fault.what());
  } catch (...) {
    return fail(failure, BRIVANE_FAILED, "an exception of an unknown kind");
  }
}

void logException() {
  try {
    platform::callHost([] { throw; }, platform::services().log.get());
  } catch (...) {  // nothing is installed, or there is no memory for a line
  }
}

void require(bool present, const char* what) {
  if (!present) throw std::invalid_argument(std::string(what) + " is missing");
}

}  // namespace brivane::internal
