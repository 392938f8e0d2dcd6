// Memory is taken while an exception is made. That may set errno, which the exception is about.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <typeinfo>

#include "support/child.h"
#include "ulx/child_handler.h"
#include "ulx/command.h"
#include "ulx/directory.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/mutex.h"
#include "ulx/path.h"
#include "ulx/pipe.h"
#include "ulx/sleep.h"
#include "ulx/wait.h"
#include "ulx/working_directory.h"
#include "unit/allocations.h"
#include "unit/ulx/descriptor_limit.h"
#include "unit/ulx/library_calls.h"

namespace {

// What is thrown: the name of its class, its number and its text.
struct Thrown {
  std::string type;
  int number;
  std::string text;

  bool operator==(const Thrown&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Thrown& thrown) {
  return out << thrown.type << ' ' << thrown.number << ' ' << thrown.text;
}

template <class Type>
Thrown expected(int number, const std::string& text) {
  return {typeid(Type).name(), number, text + "\n"};
}

// What `call` throws while each allocation sets errno to ENOMEM.
Thrown thrownBy(const std::function<void()>& call) {
  std::optional<AllocationsThatSetErrno> disturbance(ENOMEM);
  try {
    call();
  } catch (const ulx::ErrnoException& e) {
    disturbance.reset();
    return {typeid(e).name(), e.errorNumber, e.text()};
  }
  return {"nothing", 0, ""};
}

const std::string missing = "/no/" + std::string(50, 'x');
const std::string tooLong = "/" + std::string(5000, 'x');

void installNoHandler() {
  const support::Replaced failing(library::sigaction, [](int, const struct sigaction*, struct sigaction*) {
    errno = EINVAL;
    return -1;
  });
  ulx::installChildHandler([](int, siginfo_t*, void*) {});
}

void makeNoMutex() {
  const support::Replaced failing(library::mutexInit, [](pthread_mutex_t*, const pthread_mutexattr_t*) {
    errno = ENOTTY;
    return EAGAIN;
  });
  const ulx::Mutex mutex;
}

TEST(ExceptionsAllocations, LeaveTheFailuresOfFilesAsTheyAre) {
  EXPECT_EQ(thrownBy([] { ulx::FileDescriptor(missing, O_RDONLY); }),
            expected<ulx::NoSuchFileOrDirectory>(
                ENOENT, "No such file or directory while open(\"" + missing + "\")"));
  EXPECT_EQ(thrownBy([] { ulx::FileDescriptor("/dev/null/" + std::string(50, 'x'), O_RDONLY); }),
            expected<ulx::ErrnoException>(
                ENOTDIR, "Not a directory while open(\"/dev/null/" + std::string(50, 'x') + "\")"));
  EXPECT_EQ(
      thrownBy([] { ulx::FileDescriptor(-1, false).setCloseOnExec(); }),
      expected<ulx::ErrnoException>(EBADF, "Bad file descriptor while fcntl(\"fd-1\",F_SETFD,FD_CLOEXEC)"));
  EXPECT_EQ(thrownBy([] { ulx::pathExists(tooLong); }),
            expected<ulx::ErrnoException>(ENAMETOOLONG, "File name too long while stat(" + tooLong + ")"));
  EXPECT_EQ(thrownBy([] { ulx::changeDirectory(missing); }),
            expected<ulx::NoSuchFileOrDirectory>(ENOENT, "No such file or directory while chdir()"));
  EXPECT_EQ(thrownBy([] { static_cast<void>(ulx::Directory(missing).begin()); }),
            expected<ulx::NoSuchFileOrDirectory>(ENOENT,
                                                 "No such file or directory while opendir(" + missing + ")"));
}

TEST(ExceptionsAllocations, LeaveTheFailuresOfDescriptorsAsTheyAre) {
  ulx::Pipe pipe;
  fcntl(pipe.readEnd.fd(), F_SETFL, O_NONBLOCK);
  EXPECT_EQ(thrownBy([&] { static_cast<void>(pipe.readEnd.readSome()); }),
            expected<ulx::WouldBlock>(
                EAGAIN, "Resource temporarily unavailable while read(\"" + pipe.readEnd.name() + "\")"));
  std::signal(SIGPIPE, SIG_IGN);
  close(pipe.readEnd.release());
  EXPECT_EQ(thrownBy([&] { pipe.writeEnd.write("x", 1); }),
            expected<ulx::BrokenPipe>(EPIPE, "Broken pipe while write(\"" + pipe.writeEnd.name() + "\")"));
  ulx::FdSetRecord closed;
  closed.addReader(pipe.writeEnd.fd());
  close(pipe.writeEnd.release());
  EXPECT_EQ(thrownBy([&] { ulx::pollFd(ulx::FdSetRecord(closed)); }),
            expected<ulx::ErrnoException>(EBADF, "Bad file descriptor while select()"));
}

TEST(ExceptionsAllocations, LeaveTheLackOfDescriptorsAsItIs) {
  const DescriptorLimit none(0);
  EXPECT_EQ(thrownBy([] { const ulx::Pipe pipe; }),
            expected<ulx::ErrnoException>(EMFILE, "Too many open files while pipe()"));
  int status = 0;
  EXPECT_EQ(
      thrownBy([&] { ulx::captureCommand("a command with a name", status); }),
      expected<ulx::ErrnoException>(EMFILE, "Too many open files while popen(a command with a name 2>&1)"));
}

TEST(ExceptionsAllocations, LeaveTheFailuresOfWaitingAsTheyAre) {
  EXPECT_EQ(thrownBy([] { ulx::sleepSeconds(-0.5); }),
            expected<ulx::InvalidArgument>(EINVAL, "Invalid argument while nanosleep"));
  EXPECT_EQ(thrownBy([] { ulx::FdSetRecord().addReader(FD_SETSIZE); }),
            expected<ulx::InvalidArgument>(EINVAL, "Invalid argument while select()"));
  EXPECT_EQ(thrownBy(installNoHandler),
            expected<ulx::InvalidArgument>(EINVAL, "Invalid argument while sigaction(SIGCHLD)"));
}

TEST(ExceptionsAllocations, LeaveAnEndThatIsNotKnownAsItIs) {
  support::inChild([] {
    std::signal(SIGCHLD, SIG_IGN);
    int status = 0;
    EXPECT_EQ(thrownBy([&] { ulx::captureCommand("true", status); }),
              expected<ulx::ErrnoException>(ECHILD, "No child processes while pclose()"));
  });
}

TEST(ExceptionsAllocations, LeaveTheStaleNumberOfAMutexAsItIs) {
  EXPECT_EQ(thrownBy(makeNoMutex),
            expected<ulx::WouldBlock>(ENOTTY, "Inappropriate ioctl for device while pthread_mutex_init()"));
}

TEST(ExceptionsAllocations, LeaveAContextInPiecesAsItIs) {
  const std::string path(50, 'x');
  const auto fail = [&] {
    errno = EIO;
    ulx::throwErrno({"open(\"", path, "\")"}, errno);
  };
  EXPECT_EQ(thrownBy(fail), expected<ulx::IOError>(EIO, "Input/output error while open(\"" + path + "\")"));
}

}  // namespace
