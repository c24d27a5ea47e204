# SPDX-License-Identifier: Apache-2.0

# What Doxygen is to read for the API reference: the headers of every library that is built. See script/docs.
get_property(libraries GLOBAL PROPERTY BRIVANE_LIBRARIES)
set(public_headers "")
foreach(library IN LISTS libraries)
  get_target_property(headers ${library} HEADER_SET)
  list(APPEND public_headers ${headers})
endforeach()
list(JOIN public_headers "\" \"" public_headers)
configure_file(docs/api/Doxyfile.in Doxyfile @ONLY)
