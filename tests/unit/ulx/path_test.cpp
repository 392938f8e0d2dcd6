#include "ulx/path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/child.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"

namespace {

std::string textOfFailedTest(const std::string& path) {
  return support::caught<ulx::ErrnoException>([&] { ulx::pathExists(path); }).text();
}

TEST(Path, ExistsWhereAFileOrADirectoryOrALinkToOneIs) {
  const support::TemporaryDirectory directory;
  close(creat((directory / "file").c_str(), 0));
  std::filesystem::create_symlink("file", directory / "link");
  EXPECT_TRUE(ulx::pathExists(directory.path()));
  EXPECT_TRUE(ulx::pathExists(directory / "file"));
  EXPECT_TRUE(ulx::pathExists(directory / "link"));
  EXPECT_TRUE(ulx::pathExists("/dev/null"));
}

TEST(Path, DoesNotExistWithoutAFileOrBelowAFileOrBehindADanglingLink) {
  const support::TemporaryDirectory directory;
  std::filesystem::create_symlink("missing", directory / "link");
  EXPECT_FALSE(ulx::pathExists(directory / "missing"));
  EXPECT_FALSE(ulx::pathExists(directory / "missing/further"));
  EXPECT_FALSE(ulx::pathExists(directory / "link"));
  EXPECT_FALSE(ulx::pathExists("/dev/null/x"));
  EXPECT_FALSE(ulx::pathExists(""));
}

TEST(Path, IsNamedWhenStatFails) {
  const support::TemporaryDirectory directory;
  const std::string circle = directory / "circle";
  std::filesystem::create_symlink("circle", circle);
  EXPECT_EQ(textOfFailedTest(circle), "Too many levels of symbolic links while stat(" + circle + ")\n");
  const std::string tooLong = "/" + std::string(256, 'x');
  EXPECT_EQ(textOfFailedTest(tooLong), "File name too long while stat(" + tooLong + ")\n");
}

TEST(Path, IsNamedWhenItIsForbidden) {
  const support::TemporaryDirectory directory;
  const std::string locked = directory / "locked";
  ASSERT_EQ(mkdir(locked.c_str(), 0), 0);
  support::inChild([&] {
    support::dropPrivileges();
    EXPECT_EQ(textOfFailedTest(locked + "/x"), "Permission denied while stat(" + locked + "/x)\n");
  });
}

}  // namespace
