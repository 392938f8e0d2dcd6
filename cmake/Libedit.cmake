# Finds the installed libedit, the line editor of the demo's prompt, and makes the target `libedit::libedit`.

find_path(LIBEDIT_INCLUDE_DIR editline/readline.h)
find_library(LIBEDIT_LIBRARY edit)
mark_as_advanced(LIBEDIT_INCLUDE_DIR LIBEDIT_LIBRARY)
if(NOT LIBEDIT_INCLUDE_DIR OR NOT LIBEDIT_LIBRARY)
  message(STATUS "The demo is left out: libedit was not found (package libedit-dev).")
  return()
endif()

add_library(libedit::libedit UNKNOWN IMPORTED)
set_target_properties(libedit::libedit PROPERTIES IMPORTED_LOCATION ${LIBEDIT_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES
                                                                                       ${LIBEDIT_INCLUDE_DIR})
