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
  set(wanted_packages "")
  while(ARG_PACKAGES)
    list(POP_FRONT ARG_PACKAGES package wanted)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(${package} REQUIRED IMPORTED_TARGET GLOBAL ${wanted})
    target_link_libraries(${name} PRIVATE PkgConfig::${package})
    set_property(GLOBAL APPEND PROPERTY BRIVANE_PACKAGES_${ARG_COMPONENT} ${package} ${wanted})
    list(APPEND wanted_packages ${wanted})
  endwhile()
  set_property(GLOBAL APPEND PROPERTY BRIVANE_COMPONENTS ${ARG_COMPONENT})
  set_property(GLOBAL APPEND PROPERTY BRIVANE_LIBRARIES ${name})
  list(TRANSFORM ARG_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set_property(GLOBAL APPEND PROPERTY BRIVANE_HEADERS ${ARG_HEADERS})
  if(BRIVANE_INSTALL)
    # "include/platform" belongs to everybody: the headers stand in a folder of this package, which the target names.
    set(include_dir ${CMAKE_INSTALL_INCLUDEDIR}/brivane-${PROJECT_VERSION_MAJOR})
    install(TARGETS ${name} EXPORT BrivaneSDK${ARG_COMPONENT}Targets
            LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development
            FILE_SET HEADERS DESTINATION ${include_dir})
    brivane_pkgconfig(${name} "${ARG_PUBLIC}" "${ARG_PRIVATE}" "${wanted_packages}" ${include_dir})
  endif()
endfunction()

# What pkg-config finds of a library, for builds without CMake: brivane-curl for BrivaneCurl, and so on.
function(brivane_pkgconfig name public private packages include_dir)
  set(public_names "")
  set(private_names "")
  foreach(kind public private)
    foreach(library IN LISTS ${kind})
      if(library MATCHES "^Brivane(.+)$")
        string(TOLOWER brivane-${CMAKE_MATCH_1} library_name)
        list(APPEND ${kind}_names ${library_name})
      endif()
    endforeach()
  endforeach()
  if(NOT BUILD_SHARED_LIBS)  # a shared library brings along what it links
    string(REPLACE ">=" " >= " packages "${packages}")
    list(APPEND public_names ${private_names} ${packages})
    set(private_names "")
  endif()
  list(JOIN public_names ", " requires)
  list(JOIN private_names ", " requires_private)
  string(TOLOWER ${name} file)
  string(REGEX REPLACE "^brivane" "brivane-" file ${file})
  file(RELATIVE_PATH prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  set(pkgconfig_file ${PROJECT_BINARY_DIR}/pkgconfig/${file}.pc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${pkgconfig_file} @ONLY)
  install(FILES ${pkgconfig_file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
