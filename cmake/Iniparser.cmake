# Finds the installed iniparser and makes the target `iniparser::iniparser`.
# INIPARSER_HAS_LOAD_FILE says whether it can parse an open stream (since 4.2).

include(CheckCXXSymbolExists)

find_path(INIPARSER_INCLUDE_DIR iniparser.h PATH_SUFFIXES iniparser)
if(USB_RX_STATIC)
  find_library(INIPARSER_LIBRARY libiniparser.a)
else()
  find_library(INIPARSER_LIBRARY iniparser)
endif()
if(NOT INIPARSER_INCLUDE_DIR OR NOT INIPARSER_LIBRARY)
  if(CMAKE_CROSSCOMPILING)
    message(FATAL_ERROR "iniparser was not found for this target: scripts/sizes and scripts/test-target install it.")
  endif()
  message(FATAL_ERROR "iniparser was not found: install the package libiniparser-dev (apt-get install libiniparser-dev).")
endif()
mark_as_advanced(INIPARSER_INCLUDE_DIR INIPARSER_LIBRARY)

add_library(iniparser::iniparser UNKNOWN IMPORTED)
set_target_properties(
  iniparser::iniparser PROPERTIES IMPORTED_LOCATION ${INIPARSER_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES
                                                                         ${INIPARSER_INCLUDE_DIR})

set(CMAKE_REQUIRED_INCLUDES ${INIPARSER_INCLUDE_DIR})
set(CMAKE_REQUIRED_LIBRARIES ${INIPARSER_LIBRARY})
check_cxx_symbol_exists(iniparser_load_file iniparser.h INIPARSER_HAS_LOAD_FILE)
unset(CMAKE_REQUIRED_INCLUDES)
unset(CMAKE_REQUIRED_LIBRARIES)
