# SPDX-License-Identifier: Apache-2.0

# Clang with libc++, as phones have it, in the version BRIVANE_LLVM. Debian's packages of libc++ shut each other out, so
# script/setup unpacks each below build/ instead of installing it.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES BRIVANE_LLVM)
set(CMAKE_C_COMPILER clang-${BRIVANE_LLVM})
set(CMAKE_CXX_COMPILER clang++-${BRIVANE_LLVM})
set(libcxx ${CMAKE_CURRENT_LIST_DIR}/../../build/libc++-${BRIVANE_LLVM}/usr/lib/llvm-${BRIVANE_LLVM})
file(REAL_PATH ${libcxx} libcxx)
set(CMAKE_CXX_FLAGS_INIT "-nostdinc++ -isystem ${libcxx}/include/c++/v1")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Qunused-arguments -stdlib=libc++ -L${libcxx}/lib -Wl,-rpath,${libcxx}/lib")
endforeach()
