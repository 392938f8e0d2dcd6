#include "ulx/path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/temporary_directory.h"
#include "support/child.h"
#include "unit/ulx/caught.h"

namespace {

std::string textOfFailedTest(const std::string& path) {
  return textCaught([&] { ulx::pathExists(path); });
}

TEST(PathExists, IsTrueForWhateverIsThere) {
  const support::TemporaryDirectory directory;
  close(creat((directory / "file").c_str(), 0));
  std::filesystem::create_symlink("file", directory / "link");
  EXPECT_TRUE(ulx::pathExists(directory.path()));
  EXPECT_TRUE(ulx::pathExists(directory / "file"));
  EXPECT_TRUE(ulx::pathExists(directory / "link"));
  EXPECT_TRUE(ulx::pathExists("/dev/null"));
}

TEST(PathExists, IsFalseWhereNothingIs) {
  const support::TemporaryDirectory directory;
  EXPECT_FALSE(ulx::pathExists(directory / "missing"));
  EXPECT_FALSE(ulx::pathExists(directory / "missing/further"));
  EXPECT_FALSE(ulx::pathExists(""));
}

TEST(PathExists, IsFalseForALinkThatLeadsNowhere) {
  const support::TemporaryDirectory directory;
  std::filesystem::create_symlink("missing", directory / "link");
  EXPECT_FALSE(ulx::pathExists(directory / "link"));
}

TEST(PathExists, IsFalseBelowAFile) {
  EXPECT_FALSE(ulx::pathExists("/dev/null/x"));
}

TEST(PathExists, NamesThePathThatLeadsInACircle) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "circle";
  std::filesystem::create_symlink("circle", path);
  const auto e = caught<ulx::ErrnoException>([&] { ulx::pathExists(path); });
  EXPECT_EQ(e.context, "stat(" + path + ")");
  EXPECT_EQ(e.text(), "Too many levels of symbolic links while stat(" + path + ")\n");
}

TEST(PathExists, NamesThePathThatIsTooLong) {
  const std::string path = "/" + std::string(256, 'x');
  EXPECT_EQ(textOfFailedTest(path), "File name too long while stat(" + path + ")");
}

TEST(PathExists, NamesThePathThatIsForbidden) {
  const support::TemporaryDirectory directory;
  const std::string locked = directory / "locked";
  ASSERT_EQ(mkdir(locked.c_str(), 0), 0);
  EXPECT_EQ(support::reportOfUnprivilegedChild([&] { return textOfFailedTest(locked + "/x"); }),
            "Permission denied while stat(" + locked + "/x)");
}

}  // namespace
