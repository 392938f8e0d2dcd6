#include "config/locked_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/config/captured_output.h"
#include "tests/config/config_file.h"
#include "tests/config/lock_calls.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/unprivileged_child.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int attemptLimit = 100;
constexpr int attemptsWithoutSleep = 20;
// No request for a lock: flock fails at once with EINVAL.
constexpr int impossibleLock = LOCK_SH | LOCK_EX;
const std::string lockFailure = "Config unable to set lock\n";

struct CloseStream {
  void operator()(FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<FILE, CloseStream>;

Stream openLocked(const std::string& path, const char* mode, int operation) {
  return Stream(configOpenLocked(path.c_str(), mode, operation));
}

std::string contentOf(const Stream& stream) {
  std::string content;
  for (int c = 0; (c = std::fgetc(stream.get())) != EOF;) {
    content += static_cast<char>(c);
  }
  return content;
}

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

// Records the attempts of a request: L for each lock that it tries to set, s for each millisecond that it
// sleeps (without sleeping), ? for a sleep of any other length.
class RecordedAttempts {
 public:
  [[nodiscard]] const std::string& sequence() const { return sequence_; }

 private:
  std::string sequence_;
  support::Replaced<int(int, int)> lock_{library::flock, [this](int fd, int operation) {
                                           sequence_ += 'L';
                                           return library::flock.real(fd, operation);
                                         }};
  support::Replaced<int(const timespec*, timespec*)> sleep_{
      library::nanosleep, [this](const timespec* request, timespec*) {
        sequence_ += request->tv_sec == 0 && request->tv_nsec == 1'000'000 ? 's' : '?';
        return 0;
      }};
};

// What a request that gets no stream prints, and how it goes about it.
struct Refusal {
  std::string output;
  std::string attempts;
};

Refusal refusalOf(const std::string& path, const char* mode, int operation) {
  const CapturedOutput output(stdout);
  const RecordedAttempts attempts;
  const Stream stream = openLocked(path, mode, operation);
  return {output.text() + (stream == nullptr ? "" : "a stream"), attempts.sequence()};
}

// Does something to the file right before each lock is set, that is after the file was opened.
class BeforeEachLock {
 public:
  explicit BeforeEachLock(std::function<void(int attempt)> action)
      : lock_(library::flock, [this, action = std::move(action)](int fd, int operation) {
          action(++attempts_);
          return library::flock.real(fd, operation);
        }) {}

  [[nodiscard]] int attempts() const { return attempts_; }

 private:
  int attempts_ = 0;
  support::Replaced<int(int, int)> lock_;
};

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

TEST(ConfigOpenLocked, SleepsAfterEachOfAHundredAttemptsWhenAskedNotToBlock) {
  const ConfigFile file("");
  const LockHolder holder(file.path(), LOCK_EX);
  const int next = nextDescriptor();
  const Refusal refusal = refusalOf(file.path(), "r", LOCK_SH | LOCK_NB);
  EXPECT_EQ(refusal.attempts, repeated("Ls", attemptLimit));
  EXPECT_EQ(refusal.output, repeated(lockFailure, attemptLimit));
  EXPECT_EQ(nextDescriptor(), next);
}

TEST(ConfigOpenLocked, SleepsOnlyAfterTheFirstTwentyAttemptsWhenItMayBlock) {
  const ConfigFile file("");
  const int next = nextDescriptor();
  const Refusal refusal = refusalOf(file.path(), "r", impossibleLock);
  EXPECT_EQ(refusal.attempts,
            repeated("L", attemptsWithoutSleep) + repeated("Ls", attemptLimit - attemptsWithoutSleep));
  EXPECT_EQ(refusal.output, repeated(lockFailure, attemptLimit));
  EXPECT_EQ(nextDescriptor(), next);
}

TEST(ConfigOpenLocked, GivesUpAfterATenthOfASecondWhenAskedNotToBlock) {
  const ConfigFile file("");
  const LockHolder holder(file.path(), LOCK_SH);
  const CapturedOutput output(stdout);
  const auto start = Clock::now();
  EXPECT_EQ(openLocked(file.path(), "r", LOCK_EX | LOCK_NB), nullptr);
  const auto passed = Clock::now() - start;
  EXPECT_GE(passed, milliseconds(100));
  EXPECT_LT(passed, seconds(20));
}

TEST(ConfigOpenLocked, GivesUpAfterEightyMillisecondsWhenItMayBlock) {
  const ConfigFile file("");
  const CapturedOutput output(stdout);
  const auto start = Clock::now();
  EXPECT_EQ(openLocked(file.path(), "r", impossibleLock), nullptr);
  const auto passed = Clock::now() - start;
  EXPECT_GE(passed, milliseconds(80));
  EXPECT_LT(passed, seconds(20));
}

TEST(ConfigOpenLocked, GetsTheLockThatIsReleasedMeanwhile) {
  const ConfigFile file("content");
  const LockHolder holder(file.path(), LOCK_EX);
  const CapturedOutput output(stdout);
  const BeforeEachLock release([&](int attempt) {
    if (attempt == 5) {
      holder.release();
    }
  });
  EXPECT_EQ(contentOf(openLocked(file.path(), "r", LOCK_SH | LOCK_NB)), "content");
  EXPECT_EQ(release.attempts(), 5);
  EXPECT_EQ(output.text(), repeated(lockFailure, 4));
}

TEST(ConfigOpenLocked, TakesTheLastAttemptToo) {
  const ConfigFile file("content");
  const LockHolder holder(file.path(), LOCK_EX);
  const CapturedOutput output(stdout);
  const BeforeEachLock release([&](int attempt) {
    if (attempt == attemptLimit) {
      holder.release();
    }
  });
  EXPECT_NE(openLocked(file.path(), "r", LOCK_SH | LOCK_NB), nullptr);
}

TEST(ConfigOpenLocked, OpensTheNewFileThatTookTheOldOnesPlace) {
  const ConfigFile file("old");
  const CapturedOutput output(stdout);
  const BeforeEachLock replace([&](int attempt) {
    if (attempt == 1) {
      file.replaceBy("new");
    }
  });
  const Stream stream = openLocked(file.path(), "r", LOCK_EX);
  EXPECT_EQ(contentOf(stream), "new");
  EXPECT_EQ(replace.attempts(), 2);
  EXPECT_FALSE(couldLock(file.path(), LOCK_SH));
  EXPECT_EQ(output.text(), "");
}

TEST(ConfigOpenLocked, KeepsNothingOfTheOldFile) {
  const ConfigFile file("old");
  const int next = nextDescriptor();
  const int oldFile = open(file.name(), O_RDONLY);
  {
    const BeforeEachLock replace([&](int attempt) {
      if (attempt == 1) {
        file.replaceBy("new");
      }
    });
    const Stream stream = openLocked(file.path(), "r", LOCK_EX);
    EXPECT_EQ(library::flock.real(oldFile, LOCK_EX | LOCK_NB), 0);
  }
  close(oldFile);
  EXPECT_EQ(nextDescriptor(), next);
}

TEST(ConfigOpenLocked, GivesUpWithoutAWordOnAFileThatIsReplacedAgainAndAgain) {
  const ConfigFile file("");
  std::string sequence;
  const CapturedOutput output(stdout);
  {
    const BeforeEachLock replace([&](int) {
      file.replaceBy("another");
      sequence += 'L';
    });
    const support::Replaced sleeping(library::nanosleep, [&](const timespec*, timespec*) {
      sequence += 's';
      return 0;
    });
    EXPECT_EQ(openLocked(file.path(), "r", LOCK_SH), nullptr);
  }
  EXPECT_EQ(sequence,
            repeated("L", attemptsWithoutSleep) + repeated("Ls", attemptLimit - attemptsWithoutSleep));
  EXPECT_EQ(output.text(), "");
}

TEST(ConfigOpenLocked, NamesTheFileThatGoesBetweenOpenAndLock) {
  const ConfigFile file("");
  const CapturedOutput output(stdout);
  const BeforeEachLock removing([&](int) { std::filesystem::remove(file.path()); });
  EXPECT_EQ(openLocked(file.path(), "r", LOCK_SH), nullptr);
  EXPECT_EQ(removing.attempts(), 1);
  EXPECT_EQ(output.text(), "Config failed to open file '" + file.path() + "\n");
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
