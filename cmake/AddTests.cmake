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

# wrap_calls(TARGET CALL...)
# Redirects calls of the C library to functions of the test, __wrap_CALL. Where `long` has 32 bits, calls that take or
# return a time have other names; tests/support/wrapped_names.h has the same list.
set(time64_name_of_fcntl64 __fcntl_time64)
set(time64_name_of_gettimeofday __gettimeofday64)
set(time64_name_of_nanosleep __nanosleep64)
set(time64_name_of_select __select64)

function(wrap_calls target)
  foreach(call ${ARGN})
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND time64_name_of_${call})
      set(call ${time64_name_of_${call}})
    endif()
    target_link_options(${target} PRIVATE "LINKER:--wrap=${call}")
  endforeach()
endfunction()
