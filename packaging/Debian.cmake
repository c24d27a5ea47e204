# SPDX-License-Identifier: Apache-2.0

# Debian packages, which script/package builds: CPack's, because the rules of installation then stand once, and the
# packages for another processor come out of the same cross-build as its tests.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME brivane)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The BrivaneSDK authors <maintainers@brivane.example>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Debian's tool does not look into programs for another processor: script/package says what they need.
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  get_property(libraries GLOBAL PROPERTY BRIVANE_LIBRARIES)
  foreach(library IN LISTS libraries)
    get_target_property(folder ${library} BINARY_DIR)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${folder})
  endforeach()
endif()

configure_file(changelog.in changelog)
file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
brivane_gzip(${CMAKE_CURRENT_BINARY_DIR}/changelog changelog.Debian.gz)

# brivane_package(<component> <package> <section> <depends> <description>): the package of one component.
# It is one of those to build if the component has anything to install.
macro(brivane_package component package section depends description)
  string(TOUPPER ${component} key)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}${BRIVANE_${key}_DEPENDS}")
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${description}")
  install(FILES copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endmacro()

set(runtime libbrivanesdk${PROJECT_VERSION_MAJOR})  # the number of the binary interface
set(this "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(network "It detects the Bluetooth beacons of an accessibility network around its user,
often a blind person, and says which place they are near.")
brivane_package(Runtime ${runtime} libs ""
  "A library for applications.\n${network}")
brivane_package(Development libbrivanesdk-dev libdevel "${runtime} ${this}"
  "Headers, CMake and pkg-config files, documents and examples.\n${network}")
if(BRIVANE_TOOLS)
  brivane_package(Programs brivane utils "${runtime} ${this}"
    "A command-line application.\n${network}
Beside it, a stand-in for the network's service, and a recorded walk.")
  set(CPACK_DEBIAN_PROGRAMS_PACKAGE_RECOMMENDS bluez)
  set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SUGGESTS "geoclue-2.0, speech-dispatcher")
endif()
if(BRIVANE_GUIDE)
  brivane_package(Guide brivane-guide utils
    "${runtime} ${this}, brivane ${this}, dconf-gsettings-backend | gsettings-backend"
    "An application of the desktop, by voice and in sight.\n${network}")
  set(CPACK_DEBIAN_GUIDE_PACKAGE_RECOMMENDS "bluez, speech-dispatcher")
  set(CPACK_DEBIAN_GUIDE_PACKAGE_SUGGESTS geoclue-2.0)
endif()
if(BRIVANE_BINDING_JAVA)
  brivane_package(JNI libbrivanesdk-jni java "${runtime} ${this}"
    "What the interface for Java loads.\n${network}")
  brivane_package(Java libbrivanesdk-java java "libbrivanesdk-jni ${this}"
    "A library for applications in Java.\n${network}")
  set(CPACK_DEBIAN_JAVA_PACKAGE_ARCHITECTURE all)
endif()
include(CPack)
