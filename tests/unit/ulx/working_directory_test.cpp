#include "ulx/working_directory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "support/child.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"

namespace {

namespace fs = std::filesystem;

// A test starts in a directory of its own and ends where the program was.
class WorkingDirectoryTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(chdir(start().c_str()), 0); }
  void TearDown() override { ASSERT_EQ(fchdir(old_), 0); }
  ~WorkingDirectoryTest() override { close(old_); }

  [[nodiscard]] std::string start() const { return fs::canonical(directory_.path()); }

  [[nodiscard]] std::string make(const std::string& name) const {
    fs::create_directory(start() + "/" + name);
    return start() + "/" + name;
  }

  void goToADirectoryAndRemoveIt() const {
    fs::current_path(make("gone"));
    fs::remove(start() + "/gone");
  }

  // The working directory as the kernel names it.
  static std::string here() { return fs::read_symlink("/proc/self/cwd"); }

  // Goes deeper until the working directory's path has `length` characters; returns that path.
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

using WorkingDirectoryChange = WorkingDirectoryTest;
using WorkingDirectoryPath = WorkingDirectoryTest;
using WorkingDirectoryVisit = WorkingDirectoryTest;

TEST_F(WorkingDirectoryChange, LeadsThere) {
  const std::string target = make("target");
  ulx::changeDirectory(target);
  EXPECT_EQ(here(), target);
  ulx::changeDirectory("..");
  EXPECT_EQ(here(), start());
}

TEST_F(WorkingDirectoryChange, ThatFailsChangesNothing) {
  EXPECT_EQ(support::caught<ulx::NoSuchFileOrDirectory>([] { ulx::changeDirectory("missing"); }).text(),
            "No such file or directory while chdir()\n");
  EXPECT_EQ(support::caught<ulx::ErrnoException>([] { ulx::changeDirectory("/dev/null"); }).text(),
            "Not a directory while chdir()\n");
  EXPECT_EQ(here(), start());
}

TEST_F(WorkingDirectoryPath, IsThePathWithoutLinks) {
  const std::string target = make("target");
  fs::create_directory_symlink("target", start() + "/link");
  ulx::changeDirectory(start() + "/link");
  EXPECT_EQ(ulx::currentDirectory(), target);
}

TEST_F(WorkingDirectoryPath, IsWholeAtAnyLength) {
  // The first buffer holds 255 characters and their end.
  for (const std::size_t length : {255U, 256U, 5000U}) {
    const std::string path = descendTo(length);
    EXPECT_EQ(ulx::currentDirectory(), path);
    ulx::changeDirectory(start());
  }
}

TEST_F(WorkingDirectoryPath, IsAnErrorWhereTheDirectoryIsGone) {
  goToADirectoryAndRemoveIt();
  EXPECT_EQ(support::caught<ulx::NoSuchFileOrDirectory>([] { return ulx::currentDirectory(); }).text(),
            "No such file or directory while getcwd()\n");
}

TEST_F(WorkingDirectoryVisit, LastsUntilItsScopeEnds) {
  const std::string target = make("target");
  {
    const ulx::DirectoryVisit visit(target);
    EXPECT_EQ(here(), target);
  }
  EXPECT_EQ(here(), start());
}

TEST_F(WorkingDirectoryVisit, EndsWhenAnExceptionEndsItsScope) {
  const std::string target = make("target");
  EXPECT_THROW(
      {
        const ulx::DirectoryVisit visit(target);
        throw ulx::StrException("x");
      },
      ulx::StrException);
  EXPECT_EQ(here(), start());
}

TEST_F(WorkingDirectoryVisit, GoesBackOnceWhenItIsLeft) {
  {
    ulx::DirectoryVisit visit(make("target"));
    visit.leave();
    EXPECT_EQ(here(), start());
    ulx::changeDirectory("/");
  }
  EXPECT_EQ(here(), "/");
}

TEST_F(WorkingDirectoryVisit, DoesNotStartWhereItCannotGo) {
  EXPECT_EQ(
      support::caught<ulx::NoSuchFileOrDirectory>([] { const ulx::DirectoryVisit visit("missing"); }).context,
      "chdir()");
  EXPECT_EQ(here(), start());
}

TEST_F(WorkingDirectoryVisit, DoesNotStartWhereItCouldNotComeBack) {
  const std::string target = make("target");
  goToADirectoryAndRemoveIt();
  EXPECT_EQ(
      support::caught<ulx::NoSuchFileOrDirectory>([&] { const ulx::DirectoryVisit visit(target); }).context,
      "getcwd()");
  EXPECT_NE(here(), target);
}

TEST_F(WorkingDirectoryVisit, IsLeftOnceAlsoWhenTheOldDirectoryIsGone) {
  const std::string old = make("old");
  fs::current_path(old);
  std::optional<ulx::DirectoryVisit> visit(std::in_place, make("target"));
  fs::remove(old);
  EXPECT_EQ(support::caught<ulx::NoSuchFileOrDirectory>([&] { visit->leave(); }).text(),
            "No such file or directory while chdir()\n");
  fs::create_directory(old);
  visit.reset();
  EXPECT_EQ(here(), start() + "/target");
}

TEST_F(WorkingDirectoryVisit, EndsQuietlyWhenTheOldDirectoryIsGone) {
  const std::string target = make("target");
  fs::current_path(make("old"));
  {
    const ulx::DirectoryVisit visit(target);
    fs::remove(start() + "/old");
  }
  EXPECT_EQ(here(), target);
}

}  // namespace
