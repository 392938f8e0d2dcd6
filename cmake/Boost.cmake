# Finds the installed Boost headers (lexical_cast) and makes the target `Boost::headers`.

find_package(Boost QUIET)
if(NOT Boost_FOUND)
  message(FATAL_ERROR "Boost was not found: install the package libboost-dev (apt-get install libboost-dev).")
endif()
