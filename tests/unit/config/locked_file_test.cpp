#include "config/locked_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/standard_output.h"
#include "support/temporary_directory.h"
#include "unit/config/config_file.h"
#include "unit/config/library_calls.h"

namespace {

namespace fs = std::filesystem;
using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

// No request for a lock: flock fails at once with EINVAL.
constexpr int impossibleLock = LOCK_SH | LOCK_EX;
const std::string lockFailure = "Config unable to set lock\n";

std::string openFailure(const std::string& path) {
  return "Config failed to open file '" + path + "\n";
}

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

// The rule for requests that may block: they sleep after each of the last eighty attempts.
const std::string everyBlockingAttempt = repeated("L", 20) + repeated("Ls", 80);

Stream openLocked(const std::string& path, const char* mode, int operation) {
  return {configOpenLocked(path.c_str(), mode, operation), std::fclose};
}

std::string contentOf(const Stream& stream) {
  std::string content;
  for (int c = 0; (c = std::fgetc(stream.get())) != EOF;) {
    content += static_cast<char>(c);
  }
  return content;
}

// The attempts of a scope: L for each lock that is tried for, s for each sleep of a millisecond, which
// is left out, ? for any other sleep. `beforeLock` is called with the number of the attempt, when the
// file is open.
class RecordedAttempts {
 public:
  explicit RecordedAttempts(std::function<void(int attempt)> beforeLock = [](int) {})
      : beforeLock_(std::move(beforeLock)) {}

  [[nodiscard]] const std::string& sequence() const { return sequence_; }
  [[nodiscard]] int locks() const { return locks_; }

 private:
  std::function<void(int attempt)> beforeLock_;
  int locks_ = 0;
  std::string sequence_;
  support::Replaced<int(int, int)> lock_{library::flock, [this](int fd, int operation) {
                                           sequence_ += 'L';
                                           beforeLock_(++locks_);
                                           return library::flock.real(fd, operation);
                                         }};
  support::Replaced<int(const timespec*, timespec*)> sleep_{
      library::nanosleep, [this](const timespec* request, timespec*) {
        sequence_ += request->tv_sec == 0 && request->tv_nsec == 1'000'000 ? 's' : '?';
        return 0;
      }};
};

// The request gets no stream, after these attempts and with this output, and leaves nothing open.
void expectRefused(const std::string& path, const char* mode, int operation, const std::string& attempts,
                   const std::string& printed) {
  const int next = support::nextDescriptor();
  {
    const support::CapturedStandardOutput output;
    const RecordedAttempts recorded;
    EXPECT_EQ(openLocked(path, mode, operation), nullptr);
    EXPECT_EQ(output.text(), printed);
    EXPECT_EQ(recorded.sequence(), attempts);
  }
  EXPECT_EQ(support::nextDescriptor(), next);
}

// A path of exactly `length` characters below `directory`, in a directory that exists.
std::string pathOfLength(const support::TemporaryDirectory& directory, std::size_t length) {
  const std::string deep = directory / std::string(100, 'd');
  fs::create_directory(deep);
  return deep + "/" + std::string(length - deep.size() - 1, 'f');
}

TEST(LockedFile, IsOpenedAtItsStartAfterOneAttemptWithoutAMessage) {
  const ConfigFile file("[usb]\n");
  const support::CapturedStandardOutput output;
  const RecordedAttempts attempts;
  EXPECT_EQ(contentOf(openLocked(file.path(), "r", LOCK_SH)), "[usb]\n");
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(attempts.sequence(), "L");
}

TEST(LockedFile, HasTheLockThatWasRequested) {
  const ConfigFile file("");
  {
    const Stream stream = openLocked(file.path(), "r", LOCK_SH);
    EXPECT_TRUE(couldLock(file.path(), LOCK_SH));
    EXPECT_FALSE(couldLock(file.path(), LOCK_EX));
  }
  const Stream stream = openLocked(file.path(), "r", LOCK_EX);
  EXPECT_FALSE(couldLock(file.path(), LOCK_SH));
}

TEST(LockedFile, IsOpenedInTheModeAndThroughLinks) {
  const ConfigFile file("old");
  fs::create_symlink(file.path(), file.directory() + "/link");
  std::fputs(" and new", openLocked(file.directory() + "/link", "a", LOCK_EX).get());
  EXPECT_EQ(contentOf(openLocked(file.path(), "r", LOCK_SH)), "old and new");
}

TEST(LockedFile, IsNamedOnceAndWithItsQuoteOpenWhenItIsNoFile) {
  const support::TemporaryDirectory directory;
  for (const std::string& path : {directory / "missing", directory / "100%s/%d.conf", directory.path()}) {
    expectRefused(path, "r", LOCK_SH, "", openFailure(path));
  }
  expectRefused(directory.path(), "a", LOCK_EX, "", openFailure(directory.path()));
}

TEST(LockedFile, IsNamedWhenItIsForbidden) {
  const ConfigFile file("");
  ASSERT_EQ(chmod(file.name(), 0), 0);
  support::inChild([&] {
    support::dropPrivileges();
    expectRefused(file.path(), "r", LOCK_SH, "", openFailure(file.path()));
  });
}

TEST(LockedFile, HasAPathOfUpTo254Characters) {
  const support::TemporaryDirectory directory;
  const std::string longest = pathOfLength(directory, 254);
  expectRefused(longest, "r", LOCK_SH, "", openFailure(longest));
  EXPECT_NE(openLocked(longest, "a", LOCK_EX), nullptr);
  const std::string tooLong = pathOfLength(directory, 255);
  expectRefused(tooLong, "a", LOCK_EX, "", "");
  EXPECT_FALSE(fs::exists(tooLong));
  close(creat(tooLong.c_str(), 0600));
  expectRefused(tooLong, "r", LOCK_SH, "", "");
}

TEST(LockedFile, IsTriedAHundredTimesWithASleepAfterEachWhenTheRequestMayNotBlock) {
  const ConfigFile file("");
  const LockHolder holder(file.path(), LOCK_EX);
  expectRefused(file.path(), "r", LOCK_SH | LOCK_NB, repeated("Ls", 100), repeated(lockFailure, 100));
}

TEST(LockedFile, IsTriedTwentyTimesWithoutASleepWhenTheRequestMayBlock) {
  const ConfigFile file("");
  expectRefused(file.path(), "r", impossibleLock, everyBlockingAttempt, repeated(lockFailure, 100));
}

TEST(LockedFile, IsOpenedWhenItsLockIsReleasedBeforeTheLastAttempt) {
  for (const int released : {5, 100}) {
    const ConfigFile file("content");
    const LockHolder holder(file.path(), LOCK_EX);
    const support::CapturedStandardOutput output;
    const RecordedAttempts attempts([&](int attempt) {
      if (attempt == released) {
        holder.release();
      }
    });
    EXPECT_EQ(contentOf(openLocked(file.path(), "r", LOCK_SH | LOCK_NB)), "content");
    EXPECT_EQ(attempts.locks(), released);
    EXPECT_EQ(output.text(), repeated(lockFailure, released - 1));
  }
}

TEST(LockedFile, IsTheNewOneThatTookTheOldOnesPlace) {
  const ConfigFile file("old");
  const int next = support::nextDescriptor();
  const int oldFile = open(file.name(), O_RDONLY);
  {
    const support::CapturedStandardOutput output;
    const RecordedAttempts attempts([&](int attempt) {
      if (attempt == 1) {
        file.replaceBy("new");
      }
    });
    const Stream stream = openLocked(file.path(), "r", LOCK_EX);
    EXPECT_EQ(contentOf(stream), "new");
    EXPECT_EQ(attempts.sequence(), "LL");
    EXPECT_FALSE(couldLock(file.path(), LOCK_SH));
    EXPECT_EQ(library::flock.real(oldFile, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(output.text(), "");
  }
  close(oldFile);
  EXPECT_EQ(support::nextDescriptor(), next);
}

TEST(LockedFile, IsGivenUpWithoutAMessageWhenItIsReplacedAgainAndAgain) {
  const ConfigFile file("");
  const support::CapturedStandardOutput output;
  const RecordedAttempts attempts([&](int) { file.replaceBy("another"); });
  EXPECT_EQ(openLocked(file.path(), "r", LOCK_SH), nullptr);
  EXPECT_EQ(attempts.sequence(), everyBlockingAttempt);
  EXPECT_EQ(output.text(), "");
}

TEST(LockedFile, IsNamedWhenItGoesBetweenOpenAndLock) {
  const ConfigFile file("");
  const support::CapturedStandardOutput output;
  const RecordedAttempts attempts([&](int) { fs::remove(file.path()); });
  EXPECT_EQ(openLocked(file.path(), "r", LOCK_SH), nullptr);
  EXPECT_EQ(attempts.sequence(), "L");
  EXPECT_EQ(output.text(), openFailure(file.path()));
}

TEST(LockedFileLock, IsSetAndReleasedThroughSignals) {
  const ConfigFile file("");
  const int fd = open(file.name(), O_RDONLY);
  int interruptions = 2;
  const support::Replaced lock(library::flock, [&interruptions](int locked, int operation) {
    if (interruptions-- > 0) {
      errno = EINTR;
      return -1;
    }
    return library::flock.real(locked, operation);
  });
  const support::CapturedStandardOutput output;
  EXPECT_EQ(configLockFile(fd, LOCK_EX), 0);
  EXPECT_FALSE(couldLock(file.path(), LOCK_SH));
  EXPECT_EQ(configLockFile(fd, LOCK_UN), 0);
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
  EXPECT_EQ(output.text(), "");
  close(fd);
}

TEST(LockedFileLock, PrintsThatItFails) {
  const ConfigFile file("");
  const LockHolder holder(file.path(), LOCK_EX);
  const int fd = open(file.name(), O_RDONLY);
  const support::CapturedStandardOutput output;
  EXPECT_EQ(configLockFile(fd, LOCK_SH | LOCK_NB), -1);
  EXPECT_EQ(output.text(), lockFailure);
  EXPECT_EQ(configLockFile(-1, LOCK_SH), -1);
  EXPECT_EQ(output.text(), lockFailure + lockFailure);
  close(fd);
}

}  // namespace
