# brivane_library(<name> SOURCES … HEADERS … [PUBLIC …] [PRIVATE …])
# Declares one installable library of the project. HEADERS are what a host may include; PUBLIC and
# PRIVATE are the libraries it links. BUILD_SHARED_LIBS chooses the kind for all of them.
function(brivane_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} ${ARG_SOURCES})
  add_library(BrivaneSDK::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION}
                                           SOVERSION ${PROJECT_VERSION_MAJOR})
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}
                                FILES ${ARG_HEADERS})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC}
                                PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:BrivaneWarnings>)
  install(TARGETS ${name} EXPORT BrivaneSDKTargets FILE_SET HEADERS)
endfunction()
