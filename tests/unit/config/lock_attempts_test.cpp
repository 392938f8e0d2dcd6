#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

#include "unit/config/captured_output.h"
#include "unit/config/config_file.h"
#include "unit/config/lock_calls.h"
#include "unit/config/locked_stream.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int attemptLimit = 100;
constexpr int attemptsWithoutSleep = 20;
// No request for a lock: flock fails at once with EINVAL.
constexpr int impossibleLock = LOCK_SH | LOCK_EX;
const std::string lockFailure = "Config unable to set lock\n";

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
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

}  // namespace
