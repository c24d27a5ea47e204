# SPDX-License-Identifier: Apache-2.0

# Debian's cross-compiler for 64-bit ARM, with the libraries that script/setup unpacks for it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
file(REAL_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot-arm64 CMAKE_SYSROOT)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
# This processor does not authenticate pointers, which the emulator would do in software, up to a hundred times slower.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -cpu cortex-a72 -L ${CMAKE_SYSROOT})
