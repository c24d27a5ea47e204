#include "platform/Device.h"

#include <sys/utsname.h>

namespace platform {

std::string deviceModel() {
  utsname names{};
  uname(&names);
  return static_cast<const char*>(names.machine);
}

}  // namespace platform
