#include "sim/signal_storm.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <ctime>
#include <new>

#include "sim/error.h"

namespace sim {

namespace {

std::atomic<long>* sharedCounter() {
  void* memory =
      ::mmap(nullptr, sizeof(std::atomic<long>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    throw systemError("mmap()");
  }
  return new (memory) std::atomic<long>(0);
}

timespec toTimespec(double seconds) {
  constexpr double nanosecondsPerSecond = 1e9;
  const double whole = std::floor(seconds);
  return {static_cast<time_t>(whole), static_cast<long>((seconds - whole) * nanosecondsPerSecond)};
}

[[noreturn]] void sendForever(pid_t target, const std::vector<int>& signals, const timespec& pause,
                              std::atomic<long>& sent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  while (true) {
    for (const int signal : signals) {
      if (::kill(target, signal) != 0) {
        ::_exit(0);
      }
      ++sent;
      if (pause.tv_sec != 0 || pause.tv_nsec != 0) {
        ::nanosleep(&pause, nullptr);
      }
    }
  }
}

}  // namespace

SignalStorm::SignalStorm(pid_t target, const std::vector<int>& signals, double pauseSeconds)
    : sent_(sharedCounter()), sender_(::fork()) {
  if (sender_ == -1) {
    throw systemError("fork()");
  }
  if (sender_ == 0) {
    sendForever(target, signals, toTimespec(pauseSeconds), *sent_);
  }
}

SignalStorm::~SignalStorm() {
  ::kill(sender_, SIGKILL);
  ::waitpid(sender_, nullptr, 0);
  ::munmap(sent_, sizeof(std::atomic<long>));
}

}  // namespace sim
