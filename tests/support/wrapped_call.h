#pragma once

#include "support/replaceable_call.h"
#include "support/wrapped_names.h"

/**
 * Defines `library::name`, through which the calls of a C function go: the linker's --wrap=FUNCTION makes
 * them calls of __wrap_FUNCTION, and __real_FUNCTION the function. For example:
 *
 *     WRAPPED_CALL(int, close, close, (int fd), (fd))
 */
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cppcoreguidelines-macro-usage)
#define WRAPPED_CALL(Result, name, function, Parameters, arguments)              \
  extern "C" Result __real_##function Parameters;                                \
  namespace library {                                                            \
  constinit support::ReplaceableCall<Result Parameters> name(__real_##function); \
  }                                                                              \
  extern "C" Result __wrap_##function Parameters {                               \
    return library::name arguments;                                              \
  }
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cppcoreguidelines-macro-usage)
