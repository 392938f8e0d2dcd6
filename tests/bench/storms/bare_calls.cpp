#include "bench/storms/bare_calls.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <functional>
#include <vector>

#include "sim/error.h"

namespace bench {

namespace {

constexpr int rounds = 5;
constexpr int calls = 200;

double processorMicroseconds() {
  constexpr double microsecondsPerSecond = 1e6;
  constexpr double nanosecondsPerMicrosecond = 1e3;
  timespec used{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * microsecondsPerSecond +
         static_cast<double>(used.tv_nsec) / nanosecondsPerMicrosecond;
}

double leastOfEachCall(const std::function<void()>& call) {
  double least = 0;
  for (int round = 0; round < rounds; ++round) {
    const double before = processorMicroseconds();
    for (int i = 0; i < calls; ++i) {
      call();
    }
    const double each = (processorMicroseconds() - before) / calls;
    least = round == 0 ? each : std::min(least, each);
  }
  return least;
}

/** Children of this process that rest as long as the object lives. */
class RestingChildren {
 public:
  explicit RestingChildren(int count) {
    for (int i = 0; i < count; ++i) {
      const pid_t child = ::fork();
      if (child == -1) {
        throw sim::systemError("fork()");
      }
      if (child == 0) {
        rest();
      }
      children_.push_back(child);
    }
  }
  ~RestingChildren() {
    for (const pid_t child : children_) {
      ::kill(child, SIGKILL);
      ::waitpid(child, nullptr, 0);
    }
  }
  RestingChildren(const RestingChildren&) = delete;
  RestingChildren& operator=(const RestingChildren&) = delete;

 private:
  [[noreturn]] static void rest() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (true) {
      ::pause();
    }
  }

  std::vector<pid_t> children_;
};

}  // namespace

double microsecondsToLookAfterChildren(int children) {
  const RestingChildren resting(children);
  return leastOfEachCall([] { ::waitpid(-1, nullptr, WNOHANG); });
}

}  // namespace bench
