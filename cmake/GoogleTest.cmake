# Finds GoogleTest and makes the target `GTest::gtest_main`. Without it the programs are built, and no tests.

find_package(Threads REQUIRED)
if(NOT TARGET GTest::gtest_main)
  if(CMAKE_CROSSCOMPILING)
    # Debian's GoogleTest library is of the building machine's architecture. Its warnings are no errors.
    set(googletest_sources /usr/src/googletest)
    if(EXISTS ${googletest_sources})
      block()
        set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)
        add_subdirectory(${googletest_sources} googletest EXCLUDE_FROM_ALL)
      endblock()
    endif()
  else()
    find_path(GMOCK_INCLUDE_DIR gmock/gmock.h) # some distributions have it in a package of its own
    mark_as_advanced(GMOCK_INCLUDE_DIR)
    if(GMOCK_INCLUDE_DIR)
      find_package(GTest QUIET)
    endif()
  endif()
endif()
if(NOT TARGET GTest::gtest_main)
  message(STATUS "The tests are left out: GoogleTest was not found (packages libgtest-dev and libgmock-dev).")
endif()
