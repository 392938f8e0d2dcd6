#pragma once

#include <cerrno>
#include <exception>
#include <iosfwd>
#include <string>
#include <utility>

/**
 * The exceptions of the utility library. A failed system call is thrown as the class of its error
 * number; nothing returns an error code. Objects are thrown by value and own their texts.
 */
namespace ulx {

class Exception {
 public:
  Exception() = default;
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  virtual ~Exception() = default;

  /** Writes `text()` to `out`, unless that has failed, and flushes it. Does not tell when this write fails.
   */
  virtual void print(std::ostream& out) const;
  /** The text of the exception and a line end. */
  [[nodiscard]] virtual std::string text() const = 0;

  /** The exit status of a program that ends because of this exception. */
  int status = 1;
};

/** An error told in words. */
class StrException : public Exception {
 public:
  explicit StrException(std::string message);
  [[nodiscard]] std::string text() const override;

  std::string message;
};

/** An exception of the standard library, kept as its what() text. */
class StdException : public Exception {
 public:
  explicit StdException(const std::exception& e);
  [[nodiscard]] std::string text() const override;

  std::string message;
};

/** Something was thrown of which nothing is known. */
class UnknownException : public Exception {
 public:
  [[nodiscard]] std::string text() const override;
};

/** A failed call: its error number, and a context that names the call and its object. */
class ErrnoException : public Exception {
 public:
  ErrnoException(std::string context, int errorNumber);
  /** strerror(errorNumber) + " while " + context. */
  [[nodiscard]] std::string text() const override;

  int errorNumber;
  std::string context;
};

/**
 * The class of one error number, so that a handler can name the failure it expects. It records the
 * thread's errno as it is at construction, not `code`: calls that return their error number (the POSIX
 * thread calls) may therefore carry a stale number in the right class.
 */
template <int code>
class NamedErrnoException : public ErrnoException {
 public:
  explicit NamedErrnoException(std::string where) : ErrnoException(std::move(where), errno) {}
};

using NoSuchFileOrDirectory = NamedErrnoException<ENOENT>;
using InterruptedSysCall = NamedErrnoException<EINTR>;
using IOError = NamedErrnoException<EIO>;
using WouldBlock = NamedErrnoException<EAGAIN>;
using DeviceOrResourceBusy = NamedErrnoException<EBUSY>;
using NoSuchDevice = NamedErrnoException<ENODEV>;
using InvalidArgument = NamedErrnoException<EINVAL>;
using BrokenPipe = NamedErrnoException<EPIPE>;
using NoDataAvailable = NamedErrnoException<ENODATA>;
using Overflow = NamedErrnoException<EOVERFLOW>;
using ConnectionReset = NamedErrnoException<ECONNRESET>;
using TimedOut = NamedErrnoException<ETIMEDOUT>;
using ConnectionRefused = NamedErrnoException<ECONNREFUSED>;
using HostUnreachable = NamedErrnoException<EHOSTUNREACH>;

/**
 * Throws the class that names `code` (Linux error numbers), or a plain ErrnoException that carries `code`
 * where none does. `context` names the call as it is written, with its object: open("/vel/quor.conf").
 */
[[noreturn]] void throwErrno(const std::string& context, int code);

}  // namespace ulx
