include(GoogleTest)

# add_rx_tests(NAME SOURCES FILE... LIBRARIES LIBRARY... [TIMEOUT SECONDS])
# Every TEST is a ctest test and runs in a process of its own, so that tests are independent and parallel.
function(add_rx_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBRARIES")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 60)
  endif()
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    math(EXPR arg_TIMEOUT "4 * ${arg_TIMEOUT}")
  endif()
  add_executable(${name} ${arg_SOURCES})
  # Half of the time that a test file takes to compile is GoogleTest's own header.
  target_precompile_headers(${name} PRIVATE <gtest/gtest.h>)
  target_link_libraries(${name} PRIVATE project_options support ${arg_LIBRARIES} GTest::gtest_main Threads::Threads)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${name})
endfunction()
