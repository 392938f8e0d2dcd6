#include <sys/ptrace.h>
#include <sys/wait.h>

#include <chrono>
#include <thread>

#include "bench/measured_unit.h"
#include "bench/measurements/tracing.h"
#include "sim/error.h"

namespace bench {

namespace {

using Seconds = std::chrono::duration<double>;

/** Stops a process at each beginning and end of a system call. */
class CallTracer {
 public:
  explicit CallTracer(pid_t process) : process_(process) {
    int status = 0;
    if (::ptrace(PTRACE_SEIZE, process_, nullptr, PTRACE_O_TRACESYSGOOD) == -1 ||
        ::ptrace(PTRACE_INTERRUPT, process_, nullptr, nullptr) == -1 ||
        ::waitpid(process_, &status, 0) == -1) {
      throw sim::systemError("ptrace()");
    }
    goOn();
    // The wait that was interrupted begins anew, which is not the contender's doing.
    constexpr Seconds ofTheInterruption(0.2);
    static_cast<void>(stopsWithin(ofTheInterruption));
  }

  /** Each call stops twice, but for one that only begins within the time. */
  [[nodiscard]] int callsWithin(Seconds time) const { return (stopsWithin(time) + 1) / 2; }

 private:
  void goOn() const { ::ptrace(PTRACE_SYSCALL, process_, nullptr, nullptr); }

  [[nodiscard]] int stopsWithin(Seconds time) const {
    constexpr std::chrono::milliseconds pause(10);
    const auto end = std::chrono::steady_clock::now() + time;
    int stops = 0;
    while (std::chrono::steady_clock::now() < end) {
      int status = 0;
      if (::waitpid(process_, &status, WNOHANG) != process_) {
        std::this_thread::sleep_for(pause);
        continue;
      }
      if (!WIFSTOPPED(status)) {
        throw sim::Error("the contender has ended at rest");
      }
      ++stops;
      goOn();
    }
    return stops;
  }

  pid_t process_;
};

class SystemCallsAtRest : public Measurement {
 public:
  SystemCallsAtRest(const Contender& contender, double seconds) : unit_(contender), seconds_(seconds) {}

  double sample() override {
    unit_.startAtWork();
    const int calls = CallTracer(unit_.running().pid()).callsWithin(Seconds(seconds_));
    unit_.end();
    return calls;
  }

 private:
  MeasuredUnit unit_;
  double seconds_;
};

}  // namespace

Begin systemCallsAtRest(double seconds) {
  return [seconds](const Contender& contender) {
    return std::make_unique<SystemCallsAtRest>(contender, seconds);
  };
}

}  // namespace bench
