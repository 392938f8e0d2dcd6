# Finds the installed Boost headers (lexical_cast) and makes the target `Boost::headers`.
# Neither CMake's own module serves, which newer versions have given up, nor Boost's: it is installed for one architecture.

find_path(BOOST_INCLUDE_DIR boost/lexical_cast.hpp)
if(NOT BOOST_INCLUDE_DIR)
  message(FATAL_ERROR "Boost was not found: install the package libboost-dev (apt-get install libboost-dev).")
endif()
mark_as_advanced(BOOST_INCLUDE_DIR)

if(NOT TARGET Boost::headers)
  add_library(Boost::headers INTERFACE IMPORTED)
  set_target_properties(Boost::headers PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${BOOST_INCLUDE_DIR})
endif()

# No program here sets a locale. With this definition lexical_cast does not link the whole of <locale>.
target_compile_definitions(Boost::headers INTERFACE BOOST_LEXICAL_CAST_ASSUME_C_LOCALE)
