# SPDX-License-Identifier: Apache-2.0

# What find_package(BrivaneSDK CONFIG) reads: one file for the core, one for each component that was built.
include(CMakePackageConfigHelpers)
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/BrivaneSDK)
install(EXPORT BrivaneSDKTargets NAMESPACE BrivaneSDK:: DESTINATION ${config_dir})

set(static_packages "")
get_property(components GLOBAL PROPERTY BRIVANE_COMPONENTS)
foreach(component IN LISTS components)
  install(EXPORT BrivaneSDK${component}Targets NAMESPACE BrivaneSDK:: DESTINATION ${config_dir})
  # A shared library brings along what it links; a static one leaves that to the program.
  get_property(packages GLOBAL PROPERTY BRIVANE_PACKAGES_${component})
  if(NOT BUILD_SHARED_LIBS AND packages)
    string(APPEND static_packages "set(BrivaneSDK_${component}_packages ${packages})\n")
  endif()
endforeach()

configure_package_config_file(cmake/BrivaneSDKConfig.cmake.in BrivaneSDKConfig.cmake
                              INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(BrivaneSDKConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BrivaneSDKConfig.cmake
              ${PROJECT_BINARY_DIR}/BrivaneSDKConfigVersion.cmake DESTINATION ${config_dir})
