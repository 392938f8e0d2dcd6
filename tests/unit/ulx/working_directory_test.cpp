#include "ulx/working_directory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>

#include "support/temporary_directory.h"
#include "support/child.h"
#include "unit/ulx/caught.h"

namespace {

// A test starts in a directory of its own, and goes back where the program was.
class WorkingDirectory : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(chdir(start().c_str()), 0); }
  void TearDown() override { ASSERT_EQ(fchdir(old_), 0); }
  ~WorkingDirectory() override { close(old_); }

  [[nodiscard]] std::string start() const { return std::filesystem::canonical(directory_.path()); }

  // Makes the directory and gives its path.
  [[nodiscard]] std::string make(const std::string& name) const {
    std::filesystem::create_directory(start() + "/" + name);
    return start() + "/" + name;
  }

  // Where the program is, by nobody's word but the system's.
  static std::string here() { return std::filesystem::read_symlink("/proc/self/cwd"); }

  // Goes deeper until the working directory's path has `length` characters; gives that path.
  static std::string descendTo(std::size_t length) {
    constexpr std::size_t longestName = 255;
    std::string path = here();
    while (path.size() < length) {
      std::size_t name = std::min(longestName, length - path.size() - 1);
      if (length - path.size() - 1 - name == 1) {
        --name;  // a separator alone would be left for the next step
      }
      const std::string next(name, 'd');
      mkdir(next.c_str(), 0700);
      if (chdir(next.c_str()) == -1) {
        throw std::system_error(errno, std::generic_category(), "chdir");
      }
      path += "/" + next;
    }
    return path;
  }

 private:
  support::TemporaryDirectory directory_;
  int old_ = open(".", O_RDONLY);
};

using ChangeDirectory = WorkingDirectory;
using CurrentDirectory = WorkingDirectory;
using DirectoryVisit = WorkingDirectory;

TEST_F(ChangeDirectory, GoesThere) {
  const std::string target = make("target");
  ulx::changeDirectory(target);
  EXPECT_EQ(here(), target);
  ulx::changeDirectory("..");
  EXPECT_EQ(here(), start());
}

TEST_F(ChangeDirectory, StaysWhereItCannotGo) {
  const auto e = caught<ulx::NoSuchFileOrDirectory>([] { ulx::changeDirectory("missing"); });
  EXPECT_EQ(e.text(), "No such file or directory while chdir()\n");
  EXPECT_EQ(textCaught([] { ulx::changeDirectory("/dev/null"); }), "Not a directory while chdir()");
  EXPECT_EQ(here(), start());
}

TEST_F(ChangeDirectory, TellsThatADirectoryIsForbidden) {
  const std::string locked = make("locked");
  ASSERT_EQ(chmod(locked.c_str(), 0), 0);
  const auto change = [&] { return textCaught([&] { ulx::changeDirectory(locked); }); };
  EXPECT_EQ(support::reportOfUnprivilegedChild(change), "Permission denied while chdir()");
}

TEST_F(CurrentDirectory, IsThePathWithoutLinks) {
  const std::string target = make("target");
  std::filesystem::create_directory_symlink("target", start() + "/link");
  ulx::changeDirectory(start() + "/link");
  EXPECT_EQ(ulx::currentDirectory(), target);
}

TEST_F(CurrentDirectory, IsWholeWhereThePathJustFitsTheFirstBuffer) {
  const std::string path = descendTo(255);
  EXPECT_EQ(ulx::currentDirectory(), path);
}

TEST_F(CurrentDirectory, IsWholeWhereThePathJustMissesTheFirstBuffer) {
  const std::string path = descendTo(256);
  EXPECT_EQ(ulx::currentDirectory(), path);
}

TEST_F(CurrentDirectory, IsWholeHoweverLongThePathIs) {
  const std::string path = descendTo(5000);
  EXPECT_EQ(ulx::currentDirectory(), path);
}

TEST_F(CurrentDirectory, IsAnErrorWhereTheDirectoryIsGone) {
  ulx::changeDirectory(make("gone"));
  std::filesystem::remove(start() + "/gone");
  const auto e = caught<ulx::NoSuchFileOrDirectory>([] { const std::string path = ulx::currentDirectory(); });
  EXPECT_EQ(e.text(), "No such file or directory while getcwd()\n");
}

TEST_F(DirectoryVisit, IsInTheOtherDirectoryUntilItsScopeEnds) {
  const std::string target = make("target");
  {
    const ulx::DirectoryVisit visit(target);
    EXPECT_EQ(here(), target);
  }
  EXPECT_EQ(here(), start());
}

TEST_F(DirectoryVisit, GoesBackWhenItsScopeIsLeftByAnException) {
  const std::string target = make("target");
  EXPECT_THROW(
      {
        const ulx::DirectoryVisit visit(target);
        throw ulx::StrException("x");
      },
      ulx::StrException);
  EXPECT_EQ(here(), start());
}

TEST_F(DirectoryVisit, GoesBackOnceWhenToldToLeave) {
  const std::string target = make("target");
  {
    ulx::DirectoryVisit visit(target);
    visit.leave();
    EXPECT_EQ(here(), start());
    ulx::changeDirectory("/");
  }
  EXPECT_EQ(here(), "/");
}

TEST_F(DirectoryVisit, StaysWhereItCannotGo) {
  const auto e = caught<ulx::NoSuchFileOrDirectory>([] { const ulx::DirectoryVisit visit("missing"); });
  EXPECT_EQ(e.context, "chdir()");
  EXPECT_EQ(here(), start());
}

TEST_F(DirectoryVisit, DoesNotStartWhereItCouldNotComeBack) {
  const std::string target = make("target");
  ulx::changeDirectory(make("gone"));
  std::filesystem::remove(start() + "/gone");
  const auto e = caught<ulx::NoSuchFileOrDirectory>([&] { const ulx::DirectoryVisit visit(target); });
  EXPECT_EQ(e.context, "getcwd()");
  EXPECT_NE(here(), target);
}

TEST_F(DirectoryVisit, TellsThatTheOldDirectoryIsGoneWhenItLeaves) {
  const std::string target = make("target");
  ulx::changeDirectory(make("gone"));
  ulx::DirectoryVisit visit(target);
  std::filesystem::remove(start() + "/gone");
  const auto e = caught<ulx::NoSuchFileOrDirectory>([&] { visit.leave(); });
  EXPECT_EQ(e.text(), "No such file or directory while chdir()\n");
  EXPECT_EQ(here(), target);
}

TEST_F(DirectoryVisit, TriesToLeaveOnce) {
  const std::string old = make("old");
  ulx::changeDirectory(old);
  std::optional<ulx::DirectoryVisit> visit(std::in_place, make("target"));
  std::filesystem::remove(old);
  EXPECT_THROW(visit->leave(), ulx::NoSuchFileOrDirectory);
  std::filesystem::create_directory(old);
  visit.reset();
  EXPECT_EQ(here(), start() + "/target");
}

TEST_F(DirectoryVisit, EndsQuietlyWhenTheOldDirectoryIsGone) {
  const std::string target = make("target");
  ulx::changeDirectory(make("gone"));
  {
    const ulx::DirectoryVisit visit(target);
    std::filesystem::remove(start() + "/gone");
  }
  EXPECT_EQ(here(), target);
}

}  // namespace
