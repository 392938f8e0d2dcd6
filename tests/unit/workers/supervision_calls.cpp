#include "unit/workers/supervision_calls.h"

#include "support/wrapped_call.h"

WRAPPED_CALL(pid_t, waitpid, waitpid, (pid_t child, int* status, int options), (child, status, options))
WRAPPED_CALL(int, gettimeofday, gettimeofday, (timeval * now, void* zone), (now, zone))
WRAPPED_CALL(int, nanosleep, nanosleep, (const timespec* request, timespec* remaining), (request, remaining))
