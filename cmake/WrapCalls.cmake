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
