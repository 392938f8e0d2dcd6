# Finds the installed Boost headers (lexical_cast) and makes the target `Boost::headers`.

find_package(Boost QUIET)
if(NOT Boost_FOUND)
  message(FATAL_ERROR "Boost was not found: install the package libboost-dev (apt-get install libboost-dev).")
endif()

# No program here sets a locale. With this definition lexical_cast does not link the whole of <locale>.
target_compile_definitions(Boost::headers INTERFACE BOOST_LEXICAL_CAST_ASSUME_C_LOCALE)
