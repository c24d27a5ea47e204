# What find_package(BrivaneSDK CONFIG) reads.
include(CMakePackageConfigHelpers)
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/BrivaneSDK)
configure_package_config_file(cmake/BrivaneSDKConfig.cmake.in BrivaneSDKConfig.cmake
                              INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(BrivaneSDKConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BrivaneSDKConfig.cmake
              ${PROJECT_BINARY_DIR}/BrivaneSDKConfigVersion.cmake DESTINATION ${config_dir})
install(EXPORT BrivaneSDKTargets NAMESPACE BrivaneSDK:: DESTINATION ${config_dir})
