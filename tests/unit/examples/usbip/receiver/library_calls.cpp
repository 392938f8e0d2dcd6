#include "unit/examples/usbip/receiver/library_calls.h"

#include "support/wrapped_call.h"

WRAPPED_CALL(ssize_t, write, write, (int fd, const void* buffer, std::size_t length), (fd, buffer, length))
