// SPDX-License-Identifier: Apache-2.0
#include "platform/posix/UnameDeviceModel.h"

#include <sys/utsname.h>

namespace platform {

std::string UnameDeviceModel::model() const {
  utsname names{};
  uname(&names);
  return static_cast<const char*>(names.machine);
}

}  // namespace platform
