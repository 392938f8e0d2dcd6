#include "config/locked_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "support/temporary_directory.h"
#include "support/child.h"
#include "unit/config/captured_output.h"
#include "unit/config/config_file.h"
#include "unit/config/lock_calls.h"
#include "unit/config/locked_stream.h"

namespace {

const std::string lockFailure = "Config unable to set lock\n";

// A path of exactly `length` characters below `directory`, in a directory that exists.
std::string pathOfLength(const support::TemporaryDirectory& directory, std::size_t length) {
  const std::string deep = directory / std::string(100, 'd');
  std::filesystem::create_directory(deep);
  return deep + "/" + std::string(length - deep.size() - 1, 'f');
}

TEST(ConfigOpenLocked, GivesTheFileAtItsStart) {
  const ConfigFile file("[usb]\n");
  EXPECT_EQ(contentOf(openLocked(file.path(), "r", LOCK_SH)), "[usb]\n");
}

TEST(ConfigOpenLocked, SharesASharedLock) {
  const ConfigFile file("");
  const Stream stream = openLocked(file.path(), "r", LOCK_SH);
  EXPECT_TRUE(couldLock(file.path(), LOCK_SH));
  EXPECT_FALSE(couldLock(file.path(), LOCK_EX));
}

TEST(ConfigOpenLocked, SharesNoExclusiveLock) {
  const ConfigFile file("");
  const Stream stream = openLocked(file.path(), "r", LOCK_EX);
  EXPECT_FALSE(couldLock(file.path(), LOCK_SH));
}

TEST(ConfigOpenLocked, OpensAsTheModeSays) {
  const ConfigFile file("old");
  std::fputs(" and new", openLocked(file.path(), "a", LOCK_EX).get());
  EXPECT_EQ(contentOf(openLocked(file.path(), "r", LOCK_SH)), "old and new");
}

TEST(ConfigOpenLocked, CreatesTheFileWhereTheModeDoes) {
  const support::TemporaryDirectory directory;
  EXPECT_NE(openLocked(directory / "new", "a", LOCK_EX), nullptr);
  EXPECT_TRUE(std::filesystem::exists(directory / "new"));
}

TEST(ConfigOpenLocked, SaysNothingWhenAllIsWell) {
  const ConfigFile file("");
  const CapturedOutput output(stdout);
  const RecordedAttempts attempts;
  const Stream stream = openLocked(file.path(), "r", LOCK_SH);
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(attempts.sequence(), "L");
}

TEST(ConfigOpenLocked, NamesTheFileThatIsNotThereOnceAndWithItsQuoteOpen) {
  const support::TemporaryDirectory directory;
  const Refusal refusal = refusalOf(directory / "missing", "r", LOCK_SH);
  EXPECT_EQ(refusal.output, "Config failed to open file '" + (directory / "missing") + "\n");
  EXPECT_EQ(refusal.attempts, "");
}

TEST(ConfigOpenLocked, NamesAPathWithPercentSignsAsItIs) {
  const Refusal refusal = refusalOf("/no/100%s/%d.conf", "r", LOCK_SH);
  EXPECT_EQ(refusal.output, "Config failed to open file '/no/100%s/%d.conf\n");
}

TEST(ConfigOpenLocked, NamesTheDirectoryInAFilesPlace) {
  const support::TemporaryDirectory directory;
  const int next = nextDescriptor();
  const std::string message = "Config failed to open file '" + directory.path() + "\n";
  EXPECT_EQ(refusalOf(directory.path(), "r", LOCK_SH).output, message);
  EXPECT_EQ(refusalOf(directory.path(), "a", LOCK_EX).output, message);
  EXPECT_EQ(nextDescriptor(), next);
}

TEST(ConfigOpenLocked, NamesTheFileThatIsForbidden) {
  const ConfigFile file("");
  ASSERT_EQ(chmod(file.name(), 0), 0);
  EXPECT_EQ(support::reportOfUnprivilegedChild([&] { return refusalOf(file.path(), "r", LOCK_SH).output; }),
            "Config failed to open file '" + file.path() + "\n");
}

TEST(ConfigOpenLocked, TakesAPathOf254Characters) {
  const support::TemporaryDirectory directory;
  const std::string path = pathOfLength(directory, 254);
  EXPECT_EQ(refusalOf(path, "r", LOCK_SH).output, "Config failed to open file '" + path + "\n");
  EXPECT_NE(openLocked(path, "a", LOCK_EX), nullptr);
}

TEST(ConfigOpenLocked, RefusesAPathOf255CharactersWithoutAWord) {
  const support::TemporaryDirectory directory;
  const std::string path = pathOfLength(directory, 255);
  EXPECT_EQ(refusalOf(path, "a", LOCK_EX).output, "");
  EXPECT_FALSE(std::filesystem::exists(path));
  close(creat(path.c_str(), 0600));
  const Refusal refusal = refusalOf(path, "r", LOCK_SH);
  EXPECT_EQ(refusal.output, "");
  EXPECT_EQ(refusal.attempts, "");
}

TEST(ConfigOpenLocked, FollowsALinkToTheFile) {
  const ConfigFile file("content");
  const support::TemporaryDirectory directory;
  std::filesystem::create_symlink(file.path(), directory / "link");
  EXPECT_EQ(contentOf(openLocked(directory / "link", "r", LOCK_SH)), "content");
}

TEST(ConfigLockFile, SetsAndReleasesTheLock) {
  const ConfigFile file("");
  const int fd = open(file.name(), O_RDONLY);
  EXPECT_EQ(configLockFile(fd, LOCK_EX), 0);
  EXPECT_FALSE(couldLock(file.path(), LOCK_SH));
  EXPECT_EQ(configLockFile(fd, LOCK_UN), 0);
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
  close(fd);
}

TEST(ConfigLockFile, WaitsOnAfterASignal) {
  const ConfigFile file("");
  const int fd = open(file.name(), O_RDONLY);
  int interruptions = 2;
  const support::Replaced<int(int, int)> lock(library::flock, [&interruptions](int locked, int operation) {
    if (interruptions-- > 0) {
      errno = EINTR;
      return -1;
    }
    return library::flock.real(locked, operation);
  });
  const CapturedOutput output(stdout);
  EXPECT_EQ(configLockFile(fd, LOCK_EX), 0);
  EXPECT_EQ(output.text(), "");
  EXPECT_FALSE(couldLock(file.path(), LOCK_SH));
  close(fd);
}

TEST(ConfigLockFile, TellsThatItCannot) {
  const ConfigFile file("");
  const LockHolder holder(file.path(), LOCK_EX);
  const int fd = open(file.name(), O_RDONLY);
  const CapturedOutput output(stdout);
  EXPECT_EQ(configLockFile(fd, LOCK_SH | LOCK_NB), -1);
  EXPECT_EQ(output.text(), lockFailure);
  EXPECT_EQ(configLockFile(-1, LOCK_SH), -1);
  EXPECT_EQ(output.text(), lockFailure + lockFailure);
  close(fd);
}

}  // namespace
