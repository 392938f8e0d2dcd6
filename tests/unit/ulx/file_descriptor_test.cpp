#include "ulx/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <type_traits>
#include <vector>

#include "support/temporary_directory.h"
#include "support/child.h"
#include "unit/ulx/caught.h"
#include "unit/ulx/descriptor_limit.h"
#include "unit/ulx/descriptor_state.h"
#include "unit/ulx/library_calls.h"

namespace {

int openNull() {
  return open("/dev/null", O_RDWR);
}

mode_t modeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

// Creates a file under a file mode creation mask.
mode_t modeOfNewFile(mode_t mask) {
  const support::TemporaryDirectory directory;
  const mode_t old = umask(mask);
  const ulx::FileDescriptor created(directory / "new", O_CREAT | O_WRONLY);
  umask(old);
  return modeOf(directory / "new");
}

std::string textOfFailedOpen(const std::string& path, int flags) {
  return textCaught([&] { const ulx::FileDescriptor opened(path, flags); });
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

TEST(FileDescriptor, OpensAsTheFlagsSay) {
  const ulx::FileDescriptor opened("/dev/null", O_WRONLY | O_NONBLOCK | O_APPEND);
  const int flags = fcntl(opened.fd(), F_GETFL);
  EXPECT_EQ(flags & O_ACCMODE, O_WRONLY);
  EXPECT_NE(flags & O_NONBLOCK, 0);
  EXPECT_NE(flags & O_APPEND, 0);
}

TEST(FileDescriptor, CreatesFilesThatEverybodyMayReadAndWriteWithinTheMask) {
  EXPECT_EQ(modeOfNewFile(0), 0666U);
  EXPECT_EQ(modeOfNewFile(027), 0640U);
}

TEST(FileDescriptor, KeepsWhatItOpenedFromExecutedPrograms) {
  const ulx::FileDescriptor opened("/dev/null", O_RDONLY);
  EXPECT_TRUE(isCloseOnExec(opened.fd()));
}

TEST(FileDescriptor, LeavesTheFlagsOfWhatItAdopted) {
  const ulx::FileDescriptor adopted(openNull(), true);
  EXPECT_FALSE(isCloseOnExec(adopted.fd()));
  adopted.setCloseOnExec();
  EXPECT_TRUE(isCloseOnExec(adopted.fd()));
}

TEST(FileDescriptor, NamesTheDescriptorThatCannotBeMarked) {
  const auto e = caught<ulx::ErrnoException>([] { ulx::FileDescriptor(-1, false).setCloseOnExec(); });
  EXPECT_EQ(e.context, "fcntl(\"fd-1\",F_SETFD,FD_CLOEXEC)");
  EXPECT_EQ(e.text(), "Bad file descriptor while fcntl(\"fd-1\",F_SETFD,FD_CLOEXEC)\n");
}

TEST(FileDescriptor, ClosesWhatItOpenedButCouldNotMark) {
  const int next = nextDescriptor();
  const support::Replaced failing(library::fcntl, [](int fd, int command, long argument) {
    if (command != F_SETFD) {
      return library::fcntl.real(fd, command, argument);
    }
    errno = EINVAL;
    return -1;
  });
  const auto e =
      caught<ulx::InvalidArgument>([] { const ulx::FileDescriptor opened("/dev/null", O_RDONLY); });
  EXPECT_EQ(e.context, "fcntl(\"/dev/null\",F_SETFD,FD_CLOEXEC)");
  EXPECT_EQ(nextDescriptor(), next);
}

TEST(FileDescriptor, NamesThePathThatIsNotThere) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "missing";
  const auto e =
      caught<ulx::NoSuchFileOrDirectory>([&] { const ulx::FileDescriptor opened(path, O_RDONLY); });
  EXPECT_EQ(e.errorNumber, ENOENT);
  EXPECT_EQ(e.text(), "No such file or directory while open(\"" + path + "\")\n");
}

TEST(FileDescriptor, TellsWhyAPathCannotBeOpened) {
  EXPECT_EQ(textOfFailedOpen("/dev", O_WRONLY), "Is a directory while open(\"/dev\")");
  EXPECT_EQ(textOfFailedOpen("/dev/null/x", O_RDONLY), "Not a directory while open(\"/dev/null/x\")");
  EXPECT_EQ(textOfFailedOpen("/dev", O_CREAT | O_EXCL | O_RDONLY), "File exists while open(\"/dev\")");
  EXPECT_EQ(textOfFailedOpen("", O_RDONLY), "No such file or directory while open(\"\")");
}

TEST(FileDescriptor, TellsThatNobodyReadsAFifo) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "fifo";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(textOfFailedOpen(path, O_WRONLY | O_NONBLOCK),
            "No such device or address while open(\"" + path + "\")");
}

TEST(FileDescriptor, TellsThatAPathIsForbidden) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "locked";
  close(creat(path.c_str(), 0));
  EXPECT_EQ(support::reportOfUnprivilegedChild([&] { return textOfFailedOpen(path, O_RDONLY); }),
            "Permission denied while open(\"" + path + "\")");
}

TEST(FileDescriptor, TellsThatThereAreNoMoreDescriptors) {
  std::string text;
  {
    const DescriptorLimit none(0);
    text = textOfFailedOpen("/dev/null", O_RDONLY);
  }
  EXPECT_EQ(text, "Too many open files while open(\"/dev/null\")");
}

TEST(FileDescriptor, ClosesWhatItOpened) {
  std::optional<ulx::FileDescriptor> opened(std::in_place, "/dev/null", O_RDONLY);
  const int fd = opened->fd();
  opened.reset();
  EXPECT_FALSE(isOpen(fd));
}

TEST(FileDescriptor, ClosesWhatItOwns) {
  const int fd = openNull();
  { const ulx::FileDescriptor owner(fd, true); }
  EXPECT_FALSE(isOpen(fd));
}

TEST(FileDescriptor, LeavesOpenWhatItDoesNotOwn) {
  const int fd = openNull();
  { const ulx::FileDescriptor borrower(fd, false); }
  EXPECT_TRUE(isOpen(fd));
  close(fd);
}

TEST(FileDescriptor, LeavesOpenWhatItGaveAway) {
  const int fd = openNull();
  {
    ulx::FileDescriptor giver(fd, true);
    EXPECT_EQ(giver.release(), fd);
  }
  EXPECT_TRUE(isOpen(fd));
  close(fd);
}

TEST(FileDescriptor, EndsQuietlyWhenSomebodyElseClosedItsDescriptor) {
  const int fd = openNull();
  EXPECT_NO_THROW({
    const ulx::FileDescriptor owner(fd, true);
    close(fd);
  });
}

TEST(FileDescriptor, ClosesItsDescriptorBeforeItsMutexGoes) {
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

TEST(FileDescriptor, NamesTheMutexThatItCannotMake) {
  std::string text;
  {
    const support::Replaced failing(library::mutexInit,
                                    [](pthread_mutex_t*, const pthread_mutexattr_t*) { return ENOMEM; });
    text = textCaught([] { const ulx::FileDescriptor adopted(STDERR_FILENO, false); });
  }
  EXPECT_EQ(text, "Cannot allocate memory while pthread_mutex_init()");
}

TEST(FileDescriptor, DoesNotSerialiseWritesUnlessTold) {
  EXPECT_FALSE(ulx::FileDescriptor("/dev/null", O_WRONLY).serialiseWrites);
  EXPECT_FALSE(ulx::FileDescriptor(STDERR_FILENO, false).serialiseWrites);
}

TEST(FileDescriptor, HasOneOwner) {
  EXPECT_FALSE(std::is_copy_constructible_v<ulx::FileDescriptor>);
  EXPECT_FALSE(std::is_copy_assignable_v<ulx::FileDescriptor>);
  EXPECT_FALSE(std::is_polymorphic_v<ulx::FileDescriptor>);
}

}  // namespace
