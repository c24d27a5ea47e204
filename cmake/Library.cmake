# SPDX-License-Identifier: Apache-2.0

# brivane_library(<name> SOURCES … HEADERS … [BASE …] [COMPONENT …] [PUBLIC …] [PRIVATE …] [PACKAGES …])
# Declares one installable library of the project. HEADERS are what a host may include, by their path from BASE, the
# project's folder unless it is given; PUBLIC and PRIVATE are the libraries it links; PACKAGES are pairs of a name and what pkg-config is to find, for instance CURL libcurl>=7.85,
# which it links too. COMPONENT is the part of the package that find_package may ask for; without one the library
# belongs to the core that is always there. BUILD_SHARED_LIBS chooses the kind for all of them.
function(brivane_library name)
  cmake_parse_arguments(ARG "" "COMPONENT;BASE" "SOURCES;HEADERS;PUBLIC;PRIVATE;PACKAGES" ${ARGN})
  add_library(${name} ${ARG_SOURCES})
  # BrivaneCurl is BrivaneSDK::Curl to a host; the library itself keeps its name.
  string(REGEX REPLACE "^Brivane" "" export_name ${name})
  string(REGEX REPLACE "^SDK$" "BrivaneSDK" export_name ${export_name})
  add_library(BrivaneSDK::${export_name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${export_name} VERSION ${PROJECT_VERSION}
                                           SOVERSION ${PROJECT_VERSION_MAJOR})
  if(NOT ARG_BASE)
    set(ARG_BASE ${PROJECT_SOURCE_DIR})
  endif()
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${ARG_BASE}
                                FILES ${ARG_HEADERS})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC}
                                PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:BrivaneWarnings>)
  while(ARG_PACKAGES)
    list(POP_FRONT ARG_PACKAGES package wanted)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(${package} REQUIRED IMPORTED_TARGET GLOBAL ${wanted})
    target_link_libraries(${name} PRIVATE PkgConfig::${package})
    set_property(GLOBAL APPEND PROPERTY BRIVANE_PACKAGES_${ARG_COMPONENT} ${package} ${wanted})
  endwhile()
  set_property(GLOBAL APPEND PROPERTY BRIVANE_COMPONENTS ${ARG_COMPONENT})
  set_property(GLOBAL APPEND PROPERTY BRIVANE_LIBRARIES ${name})
  list(TRANSFORM ARG_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set_property(GLOBAL APPEND PROPERTY BRIVANE_HEADERS ${ARG_HEADERS})
  # "include/platform" belongs to everybody: the headers stand in a folder of this package, which the target names.
  install(TARGETS ${name} EXPORT BrivaneSDK${ARG_COMPONENT}Targets
          FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/brivane-${PROJECT_VERSION_MAJOR})
endfunction()
