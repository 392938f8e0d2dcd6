#pragma once

#include <concepts>
#include <exception>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

/**
 * The exceptions of the utility library. A failed system call is thrown as the class of its error number;
 * nothing returns an error code. Objects are thrown by value and own their texts.
 */
namespace ulx {

class Exception {
 public:
  Exception() = default;
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  virtual ~Exception() = default;

  /** Writes `text()` to `out` and flushes it, unless `out` has failed. A failed write is not reported. */
  virtual void print(std::ostream& out) const;
  /** The text of the exception and a line end. */
  [[nodiscard]] virtual std::string text() const = 0;

  /** The exit status of a program that ends because of this exception. */
  int status = 1;
};

/** An error described by a message. */
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

/** A thrown object of an unknown type. */
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

 protected:
  /** Records the thread's current errno. */
  explicit ErrnoException(std::string context);
};

/*
 * One class for each of these error numbers, so that a handler can name the failure it expects. Each records
 * the thread's errno at its construction. The POSIX thread calls return their error number and leave errno
 * alone: their exceptions have the right class, but may carry a stale number.
 */

/** ENOENT */
class NoSuchFileOrDirectory : public ErrnoException {
 public:
  explicit NoSuchFileOrDirectory(std::string where) : ErrnoException(std::move(where)) {}
};

/** EINTR */
class InterruptedSysCall : public ErrnoException {
 public:
  explicit InterruptedSysCall(std::string where) : ErrnoException(std::move(where)) {}
};

/** EIO */
class IOError : public ErrnoException {
 public:
  explicit IOError(std::string where) : ErrnoException(std::move(where)) {}
};

/** EAGAIN */
class WouldBlock : public ErrnoException {
 public:
  explicit WouldBlock(std::string where) : ErrnoException(std::move(where)) {}
};

/** EBUSY */
class DeviceOrResourceBusy : public ErrnoException {
 public:
  explicit DeviceOrResourceBusy(std::string where) : ErrnoException(std::move(where)) {}
};

/** ENODEV */
class NoSuchDevice : public ErrnoException {
 public:
  explicit NoSuchDevice(std::string where) : ErrnoException(std::move(where)) {}
};

/** EINVAL */
class InvalidArgument : public ErrnoException {
 public:
  explicit InvalidArgument(std::string where) : ErrnoException(std::move(where)) {}
};

/** EPIPE */
class BrokenPipe : public ErrnoException {
 public:
  explicit BrokenPipe(std::string where) : ErrnoException(std::move(where)) {}
};

/** ENODATA */
class NoDataAvailable : public ErrnoException {
 public:
  explicit NoDataAvailable(std::string where) : ErrnoException(std::move(where)) {}
};

/** EOVERFLOW */
class Overflow : public ErrnoException {
 public:
  explicit Overflow(std::string where) : ErrnoException(std::move(where)) {}
};

/** ECONNRESET */
class ConnectionReset : public ErrnoException {
 public:
  explicit ConnectionReset(std::string where) : ErrnoException(std::move(where)) {}
};

/** ETIMEDOUT */
class TimedOut : public ErrnoException {
 public:
  explicit TimedOut(std::string where) : ErrnoException(std::move(where)) {}
};

/** ECONNREFUSED */
class ConnectionRefused : public ErrnoException {
 public:
  explicit ConnectionRefused(std::string where) : ErrnoException(std::move(where)) {}
};

/** EHOSTUNREACH */
class HostUnreachable : public ErrnoException {
 public:
  explicit HostUnreachable(std::string where) : ErrnoException(std::move(where)) {}
};

/**
 * Throws the class that stands for `code`, an error number of Linux. Where none does, it throws
 * a plain ErrnoException that carries `code`. `context` names the call as it is written, with
 * its object: open("/vel/quor.conf"). The class records errno as it is at the call: what this function
 * allocates does not change it.
 */
[[noreturn]] void throwErrno(std::string_view context, int code);

/** The same with a context in pieces, for contexts that would have to be composed at the call. */
[[noreturn]] void throwErrno(std::initializer_list<std::string_view> pieces, int code);

/** A context that is composed at the call allocates, and may change errno before it is read: give the pieces. */
template <class Composed>
requires std::same_as<Composed, std::string>
void throwErrno(Composed&& context, int code) = delete;

}  // namespace ulx
