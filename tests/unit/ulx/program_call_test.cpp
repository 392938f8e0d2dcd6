#include "ulx/program_call.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "support/named_case.h"
#include "support/temporary_directory.h"
#include "ulx/pipe.h"
#include "unit/allocations.h"
#include "unit/ulx/library_calls.h"

namespace {

using Texts = std::vector<std::string>;

// PATH during a scope; without a value there is none.
class SearchPath {
 public:
  explicit SearchPath(const std::optional<std::string>& value) {
    if (const char* former = std::getenv("PATH")) {
      former_ = former;
    }
    set(value);
  }
  SearchPath(const SearchPath&) = delete;
  SearchPath& operator=(const SearchPath&) = delete;
  ~SearchPath() { set(former_); }

 private:
  static void set(const std::optional<std::string>& value) {
    if (value) {
      setenv("PATH", value->c_str(), 1);
    } else {
      unsetenv("PATH");
    }
  }

  std::optional<std::string> former_;
};

// The texts of which each ends with a NUL.
Texts splitAtNuls(const std::string& texts) {
  Texts found;
  for (std::size_t start = 0; start < texts.size(); start += found.back().size() + 1) {
    found.emplace_back(texts.c_str() + start);
  }
  return found;
}

struct CandidatesCase : support::NamedCase {
  std::optional<std::string> path;
  std::string program;
  Texts candidates;
};

class ProgramCallCandidates : public testing::TestWithParam<CandidatesCase> {};

INSTANTIATE_TEST_SUITE_P(
    Of, ProgramCallCandidates,
    testing::Values(
        CandidatesCase{{"OneFolder"}, "/bin", "worker", {"/bin/worker"}},
        CandidatesCase{{"SeveralFolders"}, "/b:c/d:/a", "worker", {"/b/worker", "c/d/worker", "/a/worker"}},
        CandidatesCase{{"AFolderThatEndsWithASlash"}, "/bin/", "worker", {"/bin//worker"}},
        CandidatesCase{{"AnEmptyPath"}, "", "worker", {"worker"}},
        CandidatesCase{{"AnEmptyFolderFirst"}, ":/a", "worker", {"worker", "/a/worker"}},
        CandidatesCase{{"AnEmptyFolderBetween"}, "/a::/b", "worker", {"/a/worker", "worker", "/b/worker"}},
        CandidatesCase{{"AnEmptyFolderLast"}, "/a:", "worker", {"/a/worker", "worker"}},
        CandidatesCase{{"NoPath"}, {}, "worker", {"/bin/worker", "/usr/bin/worker"}},
        CandidatesCase{{"AnAbsoluteProgram"}, "/a:/b", "/opt/worker", {"/opt/worker"}},
        CandidatesCase{{"AProgramWithASlash"}, "/a:/b", "opt/worker", {"opt/worker"}},
        CandidatesCase{{"AProgramWithASlashAtItsEnd"}, "/a:/b", "worker/", {"worker/"}},
        CandidatesCase{{"NoName"}, "/a:/b", "", {""}}));

TEST_P(ProgramCallCandidates, ComeInTheOrderOfTheFolders) {
  const SearchPath path(GetParam().path);
  const std::string candidates = ulx::programCandidates(GetParam().program);
  EXPECT_EQ(splitAtNuls(candidates), GetParam().candidates);
  EXPECT_TRUE(candidates.ends_with('\0'));
}

// One attempt to execute: the path, then the arguments.
using Attempts = std::vector<Texts>;

// Records the attempts to execute instead, each of which fails with the next of these errors.
class FailingAttempts {
 public:
  explicit FailingAttempts(std::vector<int> errors)
      : errors_(std::move(errors)),
        execve_(library::execve, [this](const char* path, char* const* arguments, char* const* environment) {
          EXPECT_EQ(environment, environ);
          Texts attempt{path};
          for (; *arguments != nullptr; ++arguments) {
            attempt.emplace_back(*arguments);
          }
          made_.push_back(attempt);
          errno = made_.size() <= errors_.size() ? errors_[made_.size() - 1] : ENOENT;
          return -1;
        }) {}

  [[nodiscard]] const Attempts& made() const { return made_; }

 private:
  std::vector<int> errors_;
  Attempts made_;
  support::Replaced<int(const char*, char* const*, char* const*)> execve_;
};

Attempts attemptsThatFailWith(const std::vector<int>& errors) {
  const SearchPath path("/a:/b");
  Texts arguments{"worker", "-x", ""};
  ulx::ProgramCall call(arguments);
  const FailingAttempts attempts(errors);
  call.execute();
  return attempts.made();
}

const Texts inA{"/a/worker", "worker", "-x", ""};
const Texts inB{"/b/worker", "worker", "-x", ""};
const Texts byShellInA{"/bin/sh", "/bin/sh", "/a/worker", "-x", ""};

TEST(ProgramCall, PassesOverWhatIsNotThereOrMayNotBeExecuted) {
  for (const int error : {EACCES, ENOENT, ENOTDIR, ENODEV, ESTALE, ETIMEDOUT}) {
    EXPECT_EQ(attemptsThatFailWith({error}), (Attempts{inA, inB})) << "error " << error;
  }
}

TEST(ProgramCall, GivesUpAtAnyOtherFailure) {
  for (const int error : {E2BIG, ENOMEM, ETXTBSY, EIO, ELOOP, ENAMETOOLONG, EPERM, EINVAL}) {
    EXPECT_EQ(attemptsThatFailWith({error}), Attempts{inA}) << "error " << error;
  }
}

TEST(ProgramCall, GivesATextToTheShellAndGivesUpWhereThatFails) {
  EXPECT_EQ(attemptsThatFailWith({ENOEXEC, ENOMEM}), (Attempts{inA, byShellInA}));
}

TEST(ProgramCall, HasItsOwnArgumentsAgainBehindATextWithoutAShell) {
  EXPECT_EQ(attemptsThatFailWith({ENOEXEC, ENOENT}), (Attempts{inA, byShellInA, inB}));
}

TEST(ProgramCall, SearchesThePathOfTheTimeAtWhichItWasMade) {
  std::optional<SearchPath> path("/a:/b");
  Texts arguments{"worker", "-x", ""};
  ulx::ProgramCall call(arguments);
  path.reset();
  const FailingAttempts attempts({});
  call.execute();
  EXPECT_EQ(attempts.made(), (Attempts{inA, inB}));
}

TEST(ProgramCall, TakesNoMemoryWhenItExecutes) {
  Texts arguments{"/no/such/worker"};
  ulx::ProgramCall call(arguments);
  const long before = allocationsSoFar();
  call.execute();
  EXPECT_EQ(allocationsSoFar(), before);
}

constexpr int nothingExecuted = 42;

struct Ended {
  std::string output;
  int status;
};

// What a child that executes the call writes to standard output, and its exit status.
Ended execute(Texts arguments) {
  ulx::Pipe output;
  ulx::ProgramCall call(arguments);
  const pid_t child = fork();
  if (child == 0) {
    dup2(output.writeEnd.fd(), STDOUT_FILENO);
    call.execute();
    _exit(nothingExecuted);
  }
  close(output.writeEnd.release());
  std::string text = output.readEnd.readAll();
  int status = 0;
  waitpid(child, &status, 0);
  return {text, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

// Two folders, which PATH names; the second has a program "worker" that is a shell.
class ProgramCallOfAChild : public testing::Test {
 protected:
  ProgramCallOfAChild() {
    mkdir(first.c_str(), 0700);
    mkdir(second.c_str(), 0700);
    EXPECT_EQ(symlink("/bin/sh", (second + "/worker").c_str()), 0);
  }

  /** Asks the worker for its name and its other arguments. */
  static Ended executeWorker() { return execute({"worker", "-c", "echo \"$0\"; exit 7"}); }

  void writeFirst(const std::string& content, mode_t mode) const {
    const std::string path = first + "/worker";
    std::ofstream(path) << content;
    chmod(path.c_str(), mode);
  }

 private:
  support::TemporaryDirectory directory_;

 protected:
  const std::string first = directory_ / "first";
  const std::string second = directory_ / "second";

 private:
  SearchPath path_{first + ":" + second};
};

TEST_F(ProgramCallOfAChild, BecomesTheFirstProgramThatIsThereUnderTheNameItWasGiven) {
  const Ended ended = executeWorker();
  EXPECT_EQ(ended.output, "worker\n");
  EXPECT_EQ(ended.status, 7);
}

TEST_F(ProgramCallOfAChild, PassesOverAFileThatIsNoProgramOrADirectory) {
  writeFirst("exit 9", 0600);
  EXPECT_EQ(executeWorker().status, 7);
  ASSERT_EQ(unlink((first + "/worker").c_str()), 0);
  ASSERT_EQ(mkdir((first + "/worker").c_str(), 0700), 0);
  EXPECT_EQ(executeWorker().status, 7);
}

TEST_F(ProgramCallOfAChild, PassesOverAFolderThatIsNone) {
  ASSERT_EQ(rmdir(first.c_str()), 0);
  EXPECT_EQ(executeWorker().status, 7);
  std::ofstream(first) << "a file";
  EXPECT_EQ(executeWorker().status, 7);
}

TEST_F(ProgramCallOfAChild, BecomesAShellThatReadsATextWithoutAnInterpreter) {
  writeFirst("echo \"$0:$1:$2:$#\"\n", 0700);
  EXPECT_EQ(execute({"worker", "one", ""}).output, first + "/worker:one::2\n");
}

TEST_F(ProgramCallOfAChild, IsOverWhereThereIsNoProgram) {
  EXPECT_EQ(execute({"no-such-worker"}).status, nothingExecuted);
  EXPECT_EQ(execute({first + "/worker"}).status, nothingExecuted);
  EXPECT_EQ(execute({""}).status, nothingExecuted);
}

}  // namespace
