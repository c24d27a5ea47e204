// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The version of these headers, by which a host may choose at compile time; that of the library it
/// runs with is BrivaneSDKVersionNumber. CMake reads the version of the packages here.
/// @{
#define BRIVANE_VERSION_MAJOR 1  ///< Rises with what hosts have to change.
#define BRIVANE_VERSION_MINOR 0  ///< Rises with what hosts may use.
#define BRIVANE_VERSION_PATCH 0  ///< Rises with what was mended.
/// @}
