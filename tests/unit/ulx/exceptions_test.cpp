#include "ulx/exceptions.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <type_traits>

#include "ulx/file_descriptor.h"
#include "unit/ulx/caught.h"

namespace {

// The facts of one thrown exception that a table can hold.
struct Thrown {
  int errorNumber;
  std::string text;
};

void throwWithErrno(int code, int errorNumber) {
  errno = errorNumber;
  ulx::throwErrno("x", code);
}

template <class Expected>
Thrown throwAs(int code, int errorNumber) {
  const auto e = caught<Expected>([&] { throwWithErrno(code, errorNumber); });
  return {e.errorNumber, e.text()};
}

struct NamedCase {
  int code;
  Thrown (*throwIt)(int code, int errorNumber);
  std::string text;
};

const std::array<NamedCase, 14> namedCases{{
    {2, throwAs<ulx::NoSuchFileOrDirectory>, "No such file or directory while x\n"},
    {4, throwAs<ulx::InterruptedSysCall>, "Interrupted system call while x\n"},
    {5, throwAs<ulx::IOError>, "Input/output error while x\n"},
    {11, throwAs<ulx::WouldBlock>, "Resource temporarily unavailable while x\n"},
    {16, throwAs<ulx::DeviceOrResourceBusy>, "Device or resource busy while x\n"},
    {19, throwAs<ulx::NoSuchDevice>, "No such device while x\n"},
    {22, throwAs<ulx::InvalidArgument>, "Invalid argument while x\n"},
    {32, throwAs<ulx::BrokenPipe>, "Broken pipe while x\n"},
    {61, throwAs<ulx::NoDataAvailable>, "No data available while x\n"},
    {75, throwAs<ulx::Overflow>, "Value too large for defined data type while x\n"},
    {104, throwAs<ulx::ConnectionReset>, "Connection reset by peer while x\n"},
    {110, throwAs<ulx::TimedOut>, "Connection timed out while x\n"},
    {111, throwAs<ulx::ConnectionRefused>, "Connection refused while x\n"},
    {113, throwAs<ulx::HostUnreachable>, "No route to host while x\n"},
}};

bool isNamed(int code) {
  return std::any_of(namedCases.begin(), namedCases.end(),
                     [code](const NamedCase& named) { return named.code == code; });
}

template <class Named>
constexpr bool isDirectErrnoClass = std::is_base_of_v<ulx::ErrnoException, Named> &&
                                    sizeof(Named) == sizeof(ulx::ErrnoException);

// Counts how often what was written is passed on.
class FlushCounter : public std::stringbuf {
 public:
  int flushes = 0;

 protected:
  int sync() override {
    ++flushes;
    return std::stringbuf::sync();
  }
};

void expectPrintsItsTextAndFlushes(const ulx::Exception& e, const std::string& text) {
  FlushCounter buffer;
  std::ostream out(&buffer);
  e.print(out);
  EXPECT_EQ(buffer.str(), text);
  EXPECT_EQ(e.text(), text);
  EXPECT_GE(buffer.flushes, 1);
}

TEST(ThrowErrno, ThrowsTheClassThatNamesTheCode) {
  for (const NamedCase& named : namedCases) {
    SCOPED_TRACE(named.code);
    const Thrown thrown = named.throwIt(named.code, named.code);
    EXPECT_EQ(thrown.errorNumber, named.code);
    EXPECT_EQ(thrown.text, named.text);
  }
}

TEST(ThrowErrno, ThrowsAPlainErrnoExceptionForEveryOtherCode) {
  for (int code = -1; code <= 134; ++code) {
    if (isNamed(code)) {
      continue;
    }
    SCOPED_TRACE(code);
    EXPECT_EQ(throwAs<ulx::ErrnoException>(code, code).errorNumber, code);
  }
  for (const int code : {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(throwAs<ulx::ErrnoException>(code, code).errorNumber, code);
  }
}

TEST(ThrowErrno, RecordsTheThreadsErrnoInANamedClassWhateverTheCode) {
  for (const NamedCase& named : namedCases) {
    SCOPED_TRACE(named.code);
    const Thrown thrown = named.throwIt(named.code, ENOTTY);
    EXPECT_EQ(thrown.errorNumber, ENOTTY);
    EXPECT_EQ(thrown.text, "Inappropriate ioctl for device while x\n");
  }
}

TEST(ThrowErrno, RecordsTheCodeWhereNoClassNamesItWhateverErrnoIs) {
  const Thrown thrown = throwAs<ulx::ErrnoException>(ENOMEM, ENOENT);
  EXPECT_EQ(thrown.errorNumber, ENOMEM);
  EXPECT_EQ(thrown.text, "Cannot allocate memory while x\n");
}

TEST(ThrowErrno, ThrowsWhatIsCaughtAsItsClassAsErrnoExceptionAndAsException) {
  EXPECT_THROW(ulx::throwErrno("x", ENOENT), ulx::NoSuchFileOrDirectory);
  EXPECT_THROW(ulx::throwErrno("x", ENOENT), ulx::ErrnoException);
  EXPECT_THROW(ulx::throwErrno("x", ENOENT), ulx::Exception);
}

TEST(ThrowErrno, TakesWouldBlockForTryAgain) {
  EXPECT_EQ(EWOULDBLOCK, EAGAIN);
  EXPECT_THROW(ulx::throwErrno("x", EWOULDBLOCK), ulx::WouldBlock);
}

TEST(ThrowErrno, KeepsTheContextBeyondTheCallersString) {
  auto context = std::make_unique<std::string>("open(\"/vel/quor.conf\")");
  const auto e = caught<ulx::NoSuchFileOrDirectory>([&] {
    errno = ENOENT;
    ulx::throwErrno(*context, ENOENT);
  });
  context.reset();
  EXPECT_EQ(e.context, "open(\"/vel/quor.conf\")");
  EXPECT_EQ(e.text(), "No such file or directory while open(\"/vel/quor.conf\")\n");
}

TEST(NamedErrnoExceptions, AreErrnoExceptionsWithNothingOfTheirOwn) {
  EXPECT_TRUE(isDirectErrnoClass<ulx::NoSuchFileOrDirectory>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::InterruptedSysCall>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::IOError>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::WouldBlock>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::DeviceOrResourceBusy>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::NoSuchDevice>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::InvalidArgument>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::BrokenPipe>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::NoDataAvailable>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::Overflow>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::ConnectionReset>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::TimedOut>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::ConnectionRefused>);
  EXPECT_TRUE(isDirectErrnoClass<ulx::HostUnreachable>);
}

TEST(NamedErrnoExceptions, TakeErrnoWhenTheyAreBuilt) {
  errno = EPIPE;
  const ulx::TimedOut e("connect()");
  errno = 0;
  EXPECT_EQ(e.errorNumber, EPIPE);
  EXPECT_EQ(e.context, "connect()");
}

TEST(Exception, PrintsNothingOnAStreamThatHasFailed) {
  std::ostringstream out;
  out.setstate(std::ios::failbit);
  ulx::StrException("x").print(out);
  EXPECT_EQ(out.str(), "");
  std::ostream without(nullptr);
  ulx::StrException("x").print(without);
}

TEST(StrException, PrintsItsMessageAndALineEnd) {
  expectPrintsItsTextAndFlushes(ulx::StrException("Not a device descriptor"), "Not a device descriptor\n");
  expectPrintsItsTextAndFlushes(ulx::StrException(""), "\n");
}

TEST(StdException, KeepsWhatAStandardExceptionSaysBeyondItsLife) {
  auto original = std::make_unique<std::out_of_range>("no such place");
  const ulx::StdException e(*original);
  original.reset();
  EXPECT_EQ(e.message, "no such place");
  expectPrintsItsTextAndFlushes(e, "no such place\n");
}

TEST(UnknownException, PrintsThatItIsUnknown) {
  expectPrintsItsTextAndFlushes(ulx::UnknownException(), "Unknown Exception.\n");
}

TEST(ErrnoException, PrintsTheSystemsMessageAndTheContext) {
  expectPrintsItsTextAndFlushes(ulx::ErrnoException("bind()", EADDRINUSE),
                                "Address already in use while bind()\n");
  expectPrintsItsTextAndFlushes(ulx::ErrnoException("", 0), "Success while \n");
}

TEST(ErrnoException, PrintsANumberThatTheSystemDoesNotKnow) {
  expectPrintsItsTextAndFlushes(ulx::ErrnoException("x", 4711), "Unknown error 4711 while x\n");
}

TEST(EndOfFile, IsAWordAndNoErrorNumber) {
  expectPrintsItsTextAndFlushes(ulx::FileDescriptor::EndOfFile(), "EOF\n");
  EXPECT_TRUE((std::is_base_of_v<ulx::StrException, ulx::FileDescriptor::EndOfFile>));
  EXPECT_FALSE((std::is_base_of_v<ulx::ErrnoException, ulx::FileDescriptor::EndOfFile>));
}

TEST(Exceptions, EndTheProgramWithStatusOneUnlessToldOtherwise) {
  EXPECT_EQ(ulx::StrException("x").status, 1);
  EXPECT_EQ(ulx::StdException(std::runtime_error("x")).status, 1);
  EXPECT_EQ(ulx::UnknownException().status, 1);
  EXPECT_EQ(ulx::ErrnoException("x", 7).status, 1);
  EXPECT_EQ(ulx::FileDescriptor::EndOfFile().status, 1);
  errno = ENODEV;
  EXPECT_EQ(ulx::NoSuchDevice("x").status, 1);
}

// An error of its own kind, with a status of its own.
class Fatal : public ulx::StrException {
 public:
  Fatal() : StrException("x") { status = 3; }
};

TEST(Exceptions, CarryTheirStatusToWhoeverCatchesThem) {
  EXPECT_EQ(caught<Fatal>([] { throw Fatal(); }).status, 3);
}

TEST(Exceptions, AreSeenThroughTheirBaseAsWhatTheyAre) {
  const std::unique_ptr<ulx::Exception> e = std::make_unique<ulx::ErrnoException>("x", EACCES);
  EXPECT_EQ(e->text(), "Permission denied while x\n");
}

}  // namespace
