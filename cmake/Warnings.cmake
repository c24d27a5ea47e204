# SPDX-License-Identifier: Apache-2.0

# Warnings are this project's own affair: they are set on its targets and never reach a host's build.
add_library(BrivaneWarnings INTERFACE)
target_compile_options(BrivaneWarnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                       # GCC 12 sees overlaps in "a" + text that are not there (its bug 105651).
                       $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
                       # What platform/Mutex.h says of locks, which Clang alone checks.
                       $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety>)
# Another compiler, or other flags, may know warnings that nobody has seen here: only the presets stop at them, by
# CMAKE_COMPILE_WARNING_AS_ERROR.
