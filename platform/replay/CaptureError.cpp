#include "platform/replay/CaptureError.h"

namespace platform {

CaptureError::CaptureError(const std::string& path, const std::string& fault)
    : std::runtime_error(path + ": " + fault) {}

CaptureError::CaptureError(const std::string& path, std::uint64_t byteOffset,
                           const std::string& fault)
    : std::runtime_error(path + ": byte " + std::to_string(byteOffset) + ": " + fault) {}

CaptureError::~CaptureError() = default;

}  // namespace platform
