# Finds GoogleTest: the target `GTest::gtest_main`.

if(NOT TARGET GTest::gtest_main)
  if(CMAKE_CROSSCOMPILING)
    # Debian's GoogleTest library is of the building machine's architecture. Its warnings are no errors.
    block()
      set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)
      add_subdirectory(/usr/src/googletest googletest EXCLUDE_FROM_ALL)
    endblock()
  else()
    find_package(GTest REQUIRED)
  endif()
endif()
find_package(Threads REQUIRED)
