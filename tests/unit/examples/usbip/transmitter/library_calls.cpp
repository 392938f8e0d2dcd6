#include "unit/examples/usbip/transmitter/library_calls.h"

#include "support/wrapped_call.h"

WRAPPED_CALL(ssize_t, send, send, (int fd, const void* buffer, std::size_t length, int flags),
             (fd, buffer, length, flags))
WRAPPED_CALL(int, socket, socket, (int domain, int type, int protocol), (domain, type, protocol))
WRAPPED_CALL(ssize_t, write, write, (int fd, const void* buffer, std::size_t length), (fd, buffer, length))
