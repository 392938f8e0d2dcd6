// Every instruction is a step of its own, so that no counter of the processor is needed, which virtual machines seldom have.

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <vector>

#ifdef __x86_64__
#include <sys/reg.h>
#endif

#include "bench/measured_unit.h"
#include "bench/measurements/tracing.h"
#include "sim/error.h"

namespace bench {

namespace {

/** Interrupts waits of this process while it lives. */
class Clock {
 public:
  Clock() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, nullptr);
    setPeriod(100'000);
  }
  ~Clock() { setPeriod(0); }
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;

 private:
  static void setPeriod(suseconds_t microseconds) {
    const itimerval timer{.it_interval = {0, microseconds}, .it_value = {0, microseconds}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
  }
};

/** A program that executes one instruction at a time. */
class SteppedProgram {
 public:
  explicit SteppedProgram(const std::vector<std::string>& command) : pid_(::fork()) {
    if (pid_ == -1) {
      throw sim::systemError("fork()");
    }
    if (pid_ == 0) {
      become(command);
    }
    int status = 0;
    if (::waitpid(pid_, &status, 0) == -1 || !WIFSTOPPED(status)) {
      throw sim::Error(command.front() + " could not be executed");
    }
  }
  ~SteppedProgram() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  SteppedProgram(const SteppedProgram&) = delete;
  SteppedProgram& operator=(const SteppedProgram&) = delete;

  /** How many it executes until it waits for something for longer than a tenth of a second. */
  [[nodiscard]] long instructionsUntilRest() {
    const Clock clock;
    long instructions = 0;
    long place = instructionPointer();
    while (step()) {
      // A repeated string instruction is one instruction, and as many steps as repetitions.
      const long next = instructionPointer();
      instructions += next == place ? 0 : 1;
      place = next;
    }
    return instructions;
  }

 private:
  [[noreturn]] static void become(const std::vector<std::string>& command) {
    std::vector<std::string> arguments = command;
    std::vector<char*> vector;
    vector.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      vector.push_back(argument.data());
    }
    vector.push_back(nullptr);
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      ::dup2(nothing, standard);
    }
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::execv(vector.front(), vector.data());
    ::_exit(EXIT_FAILURE);
  }

  [[nodiscard]] long instructionPointer() const {
#ifdef __x86_64__
    return ::ptrace(PTRACE_PEEKUSER, pid_, sizeof(long) * RIP, nullptr);
#else
    static long steps = 0;  // no such instructions
    return ++steps;
#endif
  }

  /** False when it waits instead. */
  bool step() {
    ::ptrace(PTRACE_SINGLESTEP, pid_, nullptr, pendingSignal_);
    int status = 0;
    for (int ticks = 0; ::waitpid(pid_, &status, 0) == -1; ++ticks) {
      if (errno != EINTR || ticks > 0) {
        return false;
      }
    }
    if (!WIFSTOPPED(status)) {
      throw sim::Error("the program has ended at its start");
    }
    pendingSignal_ = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
    return true;
  }

  pid_t pid_;
  long pendingSignal_ = 0;
};

class InstructionsAtStart : public Measurement {
 public:
  explicit InstructionsAtStart(const Contender& contender) : unit_(contender) {}

  double sample() override {
    constexpr double thousand = 1e3;
    return static_cast<double>(SteppedProgram(unit_.command()).instructionsUntilRest()) / thousand;
  }

 private:
  MeasuredUnit unit_;
};

}  // namespace

Begin instructionsAtStart() {
  return [](const Contender& contender) { return std::make_unique<InstructionsAtStart>(contender); };
}

}  // namespace bench
