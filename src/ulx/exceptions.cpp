#include "ulx/exceptions.h"

#include <cerrno>
#include <cstring>
#include <ostream>
#include <utility>

namespace ulx {

// It writes through the stream's buffer. A call of the stream itself would link all locales of the standard
// library into every static program that throws: half a megabyte on PowerPC.
void Exception::print(std::ostream& out) const {
  if (!out.good()) {
    return;
  }
  const std::string bytes = text();
  out.rdbuf()->sputn(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.rdbuf()->pubsync();
}

StrException::StrException(std::string text) : message(std::move(text)) {}

std::string StrException::text() const {
  return message + '\n';
}

StdException::StdException(const std::exception& e) : message(e.what()) {}

std::string StdException::text() const {
  return message + '\n';
}

std::string UnknownException::text() const {
  return "Unknown Exception.\n";
}

ErrnoException::ErrnoException(std::string where, int code) : errorNumber(code), context(std::move(where)) {}

ErrnoException::ErrnoException(std::string where) : ErrnoException(std::move(where), errno) {}

std::string ErrnoException::text() const {
  return std::strerror(errorNumber) + (" while " + context) + '\n';
}

void throwErrno(const std::string& context, int code) {
  switch (code) {
    case ENOENT:
      throw NoSuchFileOrDirectory(context);
    case EINTR:
      throw InterruptedSysCall(context);
    case EIO:
      throw IOError(context);
    case EAGAIN:
      throw WouldBlock(context);
    case EBUSY:
      throw DeviceOrResourceBusy(context);
    case ENODEV:
      throw NoSuchDevice(context);
    case EINVAL:
      throw InvalidArgument(context);
    case EPIPE:
      throw BrokenPipe(context);
    case ENODATA:
      throw NoDataAvailable(context);
    case EOVERFLOW:
      throw Overflow(context);
    case ECONNRESET:
      throw ConnectionReset(context);
    case ETIMEDOUT:
      throw TimedOut(context);
    case ECONNREFUSED:
      throw ConnectionRefused(context);
    case EHOSTUNREACH:
      throw HostUnreachable(context);
    default:
      throw ErrnoException(context, code);
  }
}

}  // namespace ulx
