# SPDX-License-Identifier: Apache-2.0

# What is shipped has the same bytes wherever it is built: no path of the machine in it. RelWithDebInfo keeps them, so
# that a debugger finds the sources.
add_compile_options("$<$<CONFIG:Release,MinSizeRel>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>"
                    "$<$<CONFIG:Release,MinSizeRel>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>")
# Nor do the folders in which a build's own libraries find each other.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
