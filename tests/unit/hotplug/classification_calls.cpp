#include "unit/hotplug/classification_calls.h"

#include "support/wrapped_call.h"

WRAPPED_CALL(int, gettimeofday, gettimeofday, (timeval * now, void* zone), (now, zone))
WRAPPED_CALL(int, nanosleep, nanosleep, (const timespec* request, timespec* remaining), (request, remaining))
