# Warnings are this project's own affair: they are set on its targets and never reach a host's build.
add_library(BrivaneWarnings INTERFACE)
target_compile_options(BrivaneWarnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(PROJECT_IS_TOP_LEVEL)
  target_compile_options(BrivaneWarnings INTERFACE -Werror)
endif()
