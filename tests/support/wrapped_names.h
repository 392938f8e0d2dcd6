#pragma once

#include <features.h>

// Where time has 64 bits and `long` 32, calls that take or give a time go by other names in the library.
// The linker's --wrap meets those. Sources that replace such calls include this and write the usual names;
// wrap_calls() in cmake/WrapCalls.cmake knows the same list.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cppcoreguidelines-macro-usage)
#if defined(__USE_TIME_BITS64) && __TIMESIZE == 32
#define __real_fcntl64 __real___fcntl_time64
#define __wrap_fcntl64 __wrap___fcntl_time64
#define __real_gettimeofday __real___gettimeofday64
#define __wrap_gettimeofday __wrap___gettimeofday64
#define __real_nanosleep __real___nanosleep64
#define __wrap_nanosleep __wrap___nanosleep64
#define __real_select __real___select64
#define __wrap_select __wrap___select64
#endif
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cppcoreguidelines-macro-usage)
