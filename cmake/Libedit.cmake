# Finds the installed libedit, the line editor of the demo's prompt, and makes the target `libedit::libedit`.

find_path(LIBEDIT_INCLUDE_DIR editline/readline.h)
find_library(LIBEDIT_LIBRARY edit)
if(NOT LIBEDIT_INCLUDE_DIR OR NOT LIBEDIT_LIBRARY)
  message(FATAL_ERROR "libedit was not found: install the package libedit-dev (apt-get install libedit-dev).")
endif()
mark_as_advanced(LIBEDIT_INCLUDE_DIR LIBEDIT_LIBRARY)

add_library(libedit::libedit UNKNOWN IMPORTED)
set_target_properties(libedit::libedit PROPERTIES IMPORTED_LOCATION ${LIBEDIT_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES
                                                                                       ${LIBEDIT_INCLUDE_DIR})
