#include "ulx/exceptions.h"

#include <cerrno>
#include <cstring>
#include <ostream>
#include <utility>

namespace ulx {

// It writes through the stream's buffer. A call of the stream itself would link all locales of the standard
// library into every static program that throws: half a megabyte on PowerPC. So would the buffer's calls with link-time
// optimisation, whose linker chooses its libraries before it inlines: they are inlined when this file is compiled.
[[gnu::flatten]] void Exception::print(std::ostream& out) const {
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

namespace {

// Throwing allocates, which may change the errno that the class records. So the object is made first.
template <class Named>
[[noreturn]] void throwNamed(std::string context, int threadErrno) {
  errno = threadErrno;
  const Named exception(std::move(context));
  throw Named(exception);
}

[[noreturn]] void throwWith(const std::string& context, int code, int threadErrno) {
  switch (code) {
    case ENOENT:
      throwNamed<NoSuchFileOrDirectory>(context, threadErrno);
    case EINTR:
      throwNamed<InterruptedSysCall>(context, threadErrno);
    case EIO:
      throwNamed<IOError>(context, threadErrno);
    case EAGAIN:
      throwNamed<WouldBlock>(context, threadErrno);
    case EBUSY:
      throwNamed<DeviceOrResourceBusy>(context, threadErrno);
    case ENODEV:
      throwNamed<NoSuchDevice>(context, threadErrno);
    case EINVAL:
      throwNamed<InvalidArgument>(context, threadErrno);
    case EPIPE:
      throwNamed<BrokenPipe>(context, threadErrno);
    case ENODATA:
      throwNamed<NoDataAvailable>(context, threadErrno);
    case EOVERFLOW:
      throwNamed<Overflow>(context, threadErrno);
    case ECONNRESET:
      throwNamed<ConnectionReset>(context, threadErrno);
    case ETIMEDOUT:
      throwNamed<TimedOut>(context, threadErrno);
    case ECONNREFUSED:
      throwNamed<ConnectionRefused>(context, threadErrno);
    case EHOSTUNREACH:
      throwNamed<HostUnreachable>(context, threadErrno);
    default:
      throw ErrnoException(context, code);
  }
}

std::string joined(std::initializer_list<std::string_view> pieces) {
  std::string whole;
  for (const std::string_view piece : pieces) {
    whole += piece;
  }
  return whole;
}

}  // namespace

void throwErrno(std::initializer_list<std::string_view> pieces, int code) {
  const int threadErrno = errno;
  throwWith(joined(pieces), code, threadErrno);
}

void throwErrno(std::string_view context, int code) {
  const int threadErrno = errno;
  throwWith(std::string(context), code, threadErrno);
}

}  // namespace ulx
