#include "ulx/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "unit/ulx/descriptor_limit.h"
#include "unit/ulx/library_calls.h"

namespace {

using support::isCloseOnExec;
using support::isOpen;

// A descriptor has one owner, and no virtual functions.
static_assert(!std::is_copy_constructible_v<ulx::FileDescriptor>);
static_assert(!std::is_copy_assignable_v<ulx::FileDescriptor>);
static_assert(!std::is_polymorphic_v<ulx::FileDescriptor>);

int openNull() {
  return open("/dev/null", O_RDWR);
}

mode_t modeOfNewFile(mode_t mask) {
  const support::TemporaryDirectory directory;
  const mode_t old = umask(mask);
  const ulx::FileDescriptor created(directory / "new", O_CREAT | O_WRONLY);
  umask(old);
  struct stat status {};
  return stat((directory / "new").c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

template <class Expected = ulx::ErrnoException>
std::string textOfFailedOpen(const std::string& path, int flags) {
  return support::caught<Expected>([&] { const ulx::FileDescriptor opened(path, flags); }).text();
}

TEST(FileDescriptor, IsNamedByThePathItOpened) {
  const ulx::FileDescriptor opened("/dev/null", O_RDONLY);
  EXPECT_EQ(opened.name(), "/dev/null");
  EXPECT_TRUE(isOpen(opened.fd()));
}

TEST(FileDescriptor, IsNamedByTheNumberItAdopted) {
  constexpr int number = 57;
  ASSERT_EQ(dup2(STDERR_FILENO, number), number);
  const ulx::FileDescriptor adopted(number, true);
  EXPECT_EQ(adopted.name(), "fd57");
  EXPECT_EQ(adopted.fd(), number);
  EXPECT_EQ(ulx::FileDescriptor(-1, false).name(), "fd-1");
}

TEST(FileDescriptor, IsOpenedWithTheFlags) {
  const ulx::FileDescriptor opened("/dev/null", O_WRONLY | O_NONBLOCK | O_APPEND);
  EXPECT_EQ(fcntl(opened.fd(), F_GETFL) & (O_ACCMODE | O_NONBLOCK | O_APPEND),
            O_WRONLY | O_NONBLOCK | O_APPEND);
}

TEST(FileDescriptor, CreatesFilesOfMode0666WithinTheMask) {
  EXPECT_EQ(modeOfNewFile(0), 0666U);
  EXPECT_EQ(modeOfNewFile(027), 0640U);
}

TEST(FileDescriptor, ClosesInExecutedProgramsWhatItOpenedAndOtherwiseOnRequest) {
  const ulx::FileDescriptor opened("/dev/null", O_RDONLY);
  EXPECT_TRUE(isCloseOnExec(opened.fd()));
  const ulx::FileDescriptor adopted(openNull(), true);
  EXPECT_FALSE(isCloseOnExec(adopted.fd()));
  adopted.setCloseOnExec();
  EXPECT_TRUE(isCloseOnExec(adopted.fd()));
}

TEST(FileDescriptor, NamesTheDescriptorThatCannotBeMarked) {
  EXPECT_EQ(
      support::caught<ulx::ErrnoException>([] { ulx::FileDescriptor(-1, false).setCloseOnExec(); }).text(),
      "Bad file descriptor while fcntl(\"fd-1\",F_SETFD,FD_CLOEXEC)\n");
}

TEST(FileDescriptor, ClosesWhatItOpenedButCouldNotMark) {
  const int next = support::nextDescriptor();
  const support::Replaced failing(library::fcntl, [](int fd, int command, long argument) {
    if (command != F_SETFD) {
      return library::fcntl.real(fd, command, argument);
    }
    errno = EINVAL;
    return -1;
  });
  EXPECT_EQ(textOfFailedOpen<ulx::InvalidArgument>("/dev/null", O_RDONLY),
            "Invalid argument while fcntl(\"/dev/null\",F_SETFD,FD_CLOEXEC)\n");
  EXPECT_EQ(support::nextDescriptor(), next);
}

TEST(FileDescriptor, NamesThePathThatCannotBeOpened) {
  EXPECT_EQ(textOfFailedOpen<ulx::NoSuchFileOrDirectory>("/no/such", O_RDONLY),
            "No such file or directory while open(\"/no/such\")\n");
  EXPECT_EQ(textOfFailedOpen<ulx::NoSuchFileOrDirectory>("", O_RDONLY),
            "No such file or directory while open(\"\")\n");
  EXPECT_EQ(textOfFailedOpen("/dev", O_WRONLY), "Is a directory while open(\"/dev\")\n");
  EXPECT_EQ(textOfFailedOpen("/dev/null/x", O_RDONLY), "Not a directory while open(\"/dev/null/x\")\n");
  EXPECT_EQ(textOfFailedOpen("/dev", O_CREAT | O_EXCL | O_RDONLY), "File exists while open(\"/dev\")\n");
}

TEST(FileDescriptor, NamesThePathThatIsForbidden) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "locked";
  close(creat(path.c_str(), 0));
  support::inChild([&] {
    support::dropPrivileges();
    EXPECT_EQ(textOfFailedOpen(path, O_RDONLY), "Permission denied while open(\"" + path + "\")\n");
  });
}

TEST(FileDescriptor, CannotOpenMoreThanTheLimit) {
  const DescriptorLimit none(0);
  EXPECT_EQ(textOfFailedOpen("/dev/null", O_RDONLY), "Too many open files while open(\"/dev/null\")\n");
}

TEST(FileDescriptor, ClosesWhatItOpenedAndWhatItOwns) {
  std::optional<ulx::FileDescriptor> opened(std::in_place, "/dev/null", O_RDONLY);
  std::optional<ulx::FileDescriptor> owner(std::in_place, openNull(), true);
  const int openedFd = opened->fd();
  const int ownedFd = owner->fd();
  opened.reset();
  owner.reset();
  EXPECT_FALSE(isOpen(openedFd));
  EXPECT_FALSE(isOpen(ownedFd));
}

TEST(FileDescriptor, LeavesOpenWhatItDoesNotOwnOrHasReleased) {
  const int fd = openNull();
  { const ulx::FileDescriptor borrower(fd, false); }
  EXPECT_TRUE(isOpen(fd));
  {
    ulx::FileDescriptor giver(fd, true);
    EXPECT_EQ(giver.release(), fd);
  }
  EXPECT_TRUE(isOpen(fd));
  close(fd);
}

TEST(FileDescriptor, EndsQuietlyWhenItsDescriptorWasClosedElsewhere) {
  const int fd = openNull();
  EXPECT_NO_THROW({
    const ulx::FileDescriptor owner(fd, true);
    close(fd);
  });
}

TEST(FileDescriptor, ClosesItsDescriptorBeforeItDestroysItsMutex) {
  std::vector<std::string> calls;
  const int fd = openNull();
  {
    std::optional<ulx::FileDescriptor> owner(std::in_place, fd, true);
    const support::Replaced closing(library::close, [&](int closed) {
      calls.emplace_back("close");
      return library::close.real(closed);
    });
    const support::Replaced destroying(library::mutexDestroy, [&](pthread_mutex_t* mutex) {
      calls.emplace_back("destroy");
      return library::mutexDestroy.real(mutex);
    });
    owner.reset();
  }
  EXPECT_EQ(calls, (std::vector<std::string>{"close", "destroy"}));
}

TEST(FileDescriptor, DoesNotSerialiseWritesByDefault) {
  EXPECT_FALSE(ulx::FileDescriptor("/dev/null", O_WRONLY).serialiseWrites);
  EXPECT_FALSE(ulx::FileDescriptor(STDERR_FILENO, false).serialiseWrites);
}

}  // namespace
