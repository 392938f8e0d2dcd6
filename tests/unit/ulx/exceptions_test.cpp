#include <cerrno>

namespace ulx {
class WouldBlock;  // the named classes can be declared ahead
}

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>

#include "support/thrown.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"

namespace {

// The exception that throwErrno throws for `code`, whose class is `Expected`, while the thread's
// errno is another.
template <class Expected>
ulx::ErrnoException thrownFor(int code, int threadErrno) {
  return support::caught<Expected>([&] {
    errno = threadErrno;
    ulx::throwErrno("x", code);
  });
}

template <class Named>
ulx::ErrnoException thrownAs(int code, int threadErrno) {
  static_assert(std::is_base_of_v<ulx::ErrnoException, Named>);
  static_assert(sizeof(Named) == sizeof(ulx::ErrnoException), "it holds nothing of its own");
  static_assert(std::is_constructible_v<Named, std::string> && !std::is_convertible_v<std::string, Named>);
  return thrownFor<Named>(code, threadErrno);
}

struct NamedCase {
  int code;
  ulx::ErrnoException (*thrownAs)(int code, int threadErrno);
  const char* text;
};

// The numbers are Linux's, those of most architectures (<asm-generic/errno.h>).
constexpr std::array<NamedCase, 14> namedCases{{
    {2, thrownAs<ulx::NoSuchFileOrDirectory>, "No such file or directory while x\n"},
    {4, thrownAs<ulx::InterruptedSysCall>, "Interrupted system call while x\n"},
    {5, thrownAs<ulx::IOError>, "Input/output error while x\n"},
    {11, thrownAs<ulx::WouldBlock>, "Resource temporarily unavailable while x\n"},
    {16, thrownAs<ulx::DeviceOrResourceBusy>, "Device or resource busy while x\n"},
    {19, thrownAs<ulx::NoSuchDevice>, "No such device while x\n"},
    {22, thrownAs<ulx::InvalidArgument>, "Invalid argument while x\n"},
    {32, thrownAs<ulx::BrokenPipe>, "Broken pipe while x\n"},
    {61, thrownAs<ulx::NoDataAvailable>, "No data available while x\n"},
    {75, thrownAs<ulx::Overflow>, "Value too large for defined data type while x\n"},
    {104, thrownAs<ulx::ConnectionReset>, "Connection reset by peer while x\n"},
    {110, thrownAs<ulx::TimedOut>, "Connection timed out while x\n"},
    {111, thrownAs<ulx::ConnectionRefused>, "Connection refused while x\n"},
    {113, thrownAs<ulx::HostUnreachable>, "No route to host while x\n"},
}};

bool isNamed(int code) {
  return std::any_of(namedCases.begin(), namedCases.end(),
                     [code](const NamedCase& named) { return named.code == code; });
}

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

void expectPrintsAndFlushes(const ulx::Exception& e, const std::string& text) {
  FlushCounter buffer;
  std::ostream out(&buffer);
  e.print(out);
  EXPECT_EQ(buffer.str(), text);
  EXPECT_EQ(e.text(), text);
  EXPECT_GE(buffer.flushes, 1);
  EXPECT_EQ(e.status, 1);
}

TEST(ExceptionsOfErrno, AreOfTheClassThatNamesTheCode) {
  for (const NamedCase& named : namedCases) {
    SCOPED_TRACE(named.code);
    const ulx::ErrnoException e = named.thrownAs(named.code, named.code);
    EXPECT_EQ(e.errorNumber, named.code);
    expectPrintsAndFlushes(e, named.text);
  }
}

TEST(ExceptionsOfErrno, ArePlainForEveryOtherCode) {
  constexpr int least = std::numeric_limits<int>::min();
  constexpr int greatest = std::numeric_limits<int>::max();
  for (int code = -1; code <= 134; ++code) {
    if (!isNamed(code)) {
      EXPECT_EQ(thrownFor<ulx::ErrnoException>(code, code).errorNumber, code);
    }
  }
  EXPECT_EQ(thrownFor<ulx::ErrnoException>(least, least).errorNumber, least);
  EXPECT_EQ(thrownFor<ulx::ErrnoException>(greatest, greatest).errorNumber, greatest);
}

TEST(ExceptionsOfErrno, RecordTheThreadsErrnoInANamedClassForAnyCode) {
  for (const NamedCase& named : namedCases) {
    SCOPED_TRACE(named.code);
    const ulx::ErrnoException e = named.thrownAs(named.code, ENOTTY);
    EXPECT_EQ(e.errorNumber, ENOTTY);
    EXPECT_EQ(e.text(), "Inappropriate ioctl for device while x\n");
  }
}

TEST(ExceptionsOfErrno, RecordTheCodeInThePlainClassForAnyErrno) {
  const ulx::ErrnoException e = thrownFor<ulx::ErrnoException>(ENOMEM, ENOENT);
  EXPECT_EQ(e.errorNumber, ENOMEM);
  EXPECT_EQ(e.text(), "Cannot allocate memory while x\n");
}

TEST(ExceptionsOfErrno, OutliveTheContextOfTheCaller) {
  auto context = std::make_unique<std::string>("open(\"/vel/quor.conf\")");
  const auto e = support::caught<ulx::NoSuchFileOrDirectory>([&] { ulx::throwErrno(*context, ENOENT); });
  context.reset();
  EXPECT_EQ(e.context, "open(\"/vel/quor.conf\")");
}

TEST(ExceptionsOfErrno, TakeErrnoAtTheirConstruction) {
  errno = EPIPE;
  const ulx::TimedOut e("connect()");
  errno = 0;
  EXPECT_EQ(e.text(), "Broken pipe while connect()\n");
}

TEST(Exceptions, PrintNothingOnAStreamThatHasFailed) {
  std::ostringstream out;
  out.setstate(std::ios::failbit);
  ulx::StrException("x").print(out);
  EXPECT_EQ(out.str(), "");
  std::ostream without(nullptr);
  ulx::StrException("x").print(without);
}

TEST(Exceptions, PrintTheirTextAndALineEnd) {
  expectPrintsAndFlushes(ulx::StrException("Not a device descriptor"), "Not a device descriptor\n");
  expectPrintsAndFlushes(ulx::StrException(""), "\n");
  expectPrintsAndFlushes(ulx::UnknownException(), "Unknown Exception.\n");
  expectPrintsAndFlushes(ulx::FileDescriptor::EndOfFile(), "EOF\n");
  expectPrintsAndFlushes(ulx::ErrnoException("bind()", EADDRINUSE), "Address already in use while bind()\n");
  expectPrintsAndFlushes(ulx::ErrnoException("", 0), "Success while \n");
  expectPrintsAndFlushes(ulx::ErrnoException("x", 4711), "Unknown error 4711 while x\n");
}

TEST(Exceptions, KeepTheTextOfAStandardExceptionBeyondItsLife) {
  auto original = std::make_unique<std::out_of_range>("no such place");
  const ulx::StdException e(*original);
  original.reset();
  EXPECT_EQ(e.message, "no such place");
  expectPrintsAndFlushes(e, "no such place\n");
}

TEST(Exceptions, CarryAStatusOfTheirOwn) {
  class Fatal : public ulx::StrException {
   public:
    Fatal() : StrException("x") { status = 3; }
  };
  try {
    throw Fatal();
  } catch (const ulx::Exception& e) {
    EXPECT_EQ(e.status, 3);
    EXPECT_EQ(e.text(), "x\n");
  }
}

TEST(Exceptions, OfAnEarlyEndAreNoErrnoExceptions) {
  EXPECT_TRUE((std::is_base_of_v<ulx::StrException, ulx::FileDescriptor::EndOfFile>));
  EXPECT_FALSE((std::is_base_of_v<ulx::ErrnoException, ulx::FileDescriptor::EndOfFile>));
}

}  // namespace
