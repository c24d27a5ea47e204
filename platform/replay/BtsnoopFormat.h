// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

/// What stands in a btsnoop file. All numbers are big-endian.
namespace platform::btsnoop {

inline constexpr std::string_view kIdentification("btsnoop\0", 8);
inline constexpr std::uint32_t kVersion = 1;

// Datalinks.
inline constexpr std::uint32_t kHCI = 1001;
inline constexpr std::uint32_t kHCIUART = 1002;
inline constexpr std::uint32_t kLinuxMonitor = 2001;

/// Microseconds from year 0, where the format's clock begins, to 1970.
inline constexpr std::uint64_t kEpoch = 0x00DCDDB30F2F8000;

inline constexpr std::uint32_t kFlagsOfReceivedEvent = 3;
inline constexpr std::uint8_t kUARTEvent = 0x04;

}  // namespace platform::btsnoop
