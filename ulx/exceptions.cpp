#include "ulx/exceptions.h"

#include <cstring>
#include <ostream>
#include <sstream>

namespace ulx {

std::string Exception::text() const {
  std::ostringstream out;
  print(out);
  return out.str();
}

StrException::StrException(std::string text) : message(std::move(text)) {}

void StrException::print(std::ostream& out) const {
  out << message << std::endl;
}

StdException::StdException(const std::exception& e) : message(e.what()) {}

void StdException::print(std::ostream& out) const {
  out << message << std::endl;
}

void UnknownException::print(std::ostream& out) const {
  out << "Unknown Exception." << std::endl;
}

ErrnoException::ErrnoException(std::string where, int code) : errorNumber(code), context(std::move(where)) {}

void ErrnoException::print(std::ostream& out) const {
  out << std::strerror(errorNumber) << " while " << context << std::endl;
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
