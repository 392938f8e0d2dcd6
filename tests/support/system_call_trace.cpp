#include "support/system_call_trace.h"

#include <linux/net.h>
#include <linux/time_types.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "sim/error.h"

namespace support {
namespace {

bool seize(pid_t process) {
  return ::ptrace(PTRACE_SEIZE, process, nullptr, asPointer(PTRACE_O_TRACESYSGOOD)) == 0;
}

#ifdef __i386__
/** i386's library makes its socket calls through one. */
bool isReception(const SystemCall& call) {
  const unsigned long socketCall = call.arguments.front();
  return call.number == SYS_socketcall && (socketCall == SYS_RECV || socketCall == SYS_RECVFROM);
}
#endif

/** The call under the number that it has where each has its own; arguments are left as they are. */
SystemCall namedByItself(SystemCall call) {
#ifdef __i386__
  if (isReception(call)) {
    call.number = SYS_recvfrom;
  }
#endif
  return call;
}

/** Whether the times of the call have 64 bits where `long` has 32. */
bool takesLongTimes([[maybe_unused]] unsigned long number) {
#ifdef SYS_clock_nanosleep_time64
  return number == SYS_clock_nanosleep_time64 || number == SYS_pselect6_time64;
#else
  return false;
#endif
}

/** Which argument of the call is the time that it sleeps. */
std::optional<std::size_t> sleepArgument(unsigned long number) {
  switch (number) {
    case SYS_nanosleep:
      return 0;
    case SYS_clock_nanosleep:
#ifdef SYS_clock_nanosleep_time64
    case SYS_clock_nanosleep_time64:
#endif
      return 2;
    default:
      return std::nullopt;
  }
}

/** Which argument of the call is the time that it waits for descriptors. */
std::optional<std::size_t> waitArgument(unsigned long number) {
  switch (number) {
    case SYS_pselect6:
#ifdef SYS_pselect6_time64
    case SYS_pselect6_time64:
#endif
      return 4;
    default:
      return std::nullopt;
  }
}

/** An emulator stays one. The old kernel's program (sim/old_kernel_main.cpp) becomes the daemon. */
bool daemonStaysAnotherProgram() {
  const char* prefix = std::getenv("SIM_PROGRAM_PREFIX");
  return prefix != nullptr && !std::string_view(prefix).ends_with("/usb_rx_old_kernel");
}

}  // namespace

std::optional<std::string> SystemCallTrace::obstacle() {
  if (daemonStaysAnotherProgram()) {
    return "the daemon runs under another program, whose system calls would be seen";
  }
  const pid_t child = ::fork();
  if (child == 0) {
    ::pause();
    ::_exit(0);
  }
  const bool seized = seize(child);
  const int reason = errno;
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, __WALL);
  if (!seized) {
    return std::string("tracing is not permitted: ") + std::strerror(reason);
  }
  return std::nullopt;
}

SystemCallTrace::SystemCallTrace(pid_t process) : process_(process) {
  if (!seize(process)) {
    throw sim::systemError("ptrace(" + std::to_string(process) + ")");
  }
  ::ptrace(PTRACE_INTERRUPT, process, nullptr, nullptr);
  waitForStop({});
}

SystemCallTrace::~SystemCallTrace() {
  if (!isStopped_) {
    ::ptrace(PTRACE_INTERRUPT, process_, nullptr, nullptr);
    ::waitpid(process_, nullptr, __WALL);
  }
  ::ptrace(PTRACE_DETACH, process_, nullptr, nullptr);
}

int SystemCallTrace::waitForStop(const sim::Deadline& deadline) {
  const int status = TracedStops::waitFor(process_, deadline);
  isStopped_ = true;
  if (!WIFSTOPPED(status)) {
    throw sim::Error("process " + std::to_string(process_) + " has ended while it was traced");
  }
  return status;
}

std::optional<SystemCall> SystemCallTrace::currentCall() const {
  __ptrace_syscall_info info{};
  ::ptrace(PTRACE_GET_SYSCALL_INFO, process_, asPointer(sizeof info), &info);
  if (info.op != PTRACE_SYSCALL_INFO_ENTRY) {
    return std::nullopt;
  }
  const auto& entry = info.entry;  // NOLINT(cppcoreguidelines-pro-type-union-access): `op` names the member
  SystemCall call{static_cast<unsigned long>(entry.nr), {}};
  std::copy(std::begin(entry.args), std::end(entry.args), call.arguments.begin());
  return namedByItself(call);
}

SystemCall SystemCallTrace::next(const sim::Deadline& deadline) {
  unsigned long signal = 0;
  while (true) {
    ::ptrace(PTRACE_SYSCALL, process_, nullptr, asPointer(signal));
    isStopped_ = false;
    signal = 0;
    const int status = waitForStop(deadline);
    if (WSTOPSIG(status) != stoppedInCall) {
      signal = signalOf(status);
    } else if (const std::optional<SystemCall> call = currentCall()) {
      return *call;
    }
  }
}

double SystemCallTrace::runToSleep(const sim::Deadline& deadline) {
  while (true) {
    if (const std::optional<double> seconds = sleepOf(next(deadline))) {
      return *seconds;
    }
  }
}

std::optional<double> SystemCallTrace::sleepOf(const SystemCall& call) const {
  const std::optional<std::size_t> argument = sleepArgument(call.number);
  if (!argument) {
    return std::nullopt;
  }
  return secondsIn(call, *argument);
}

bool SystemCallTrace::isWait(const SystemCall& call) {
  return waitArgument(call.number).has_value();
}

double SystemCallTrace::runToWait(const sim::Deadline& deadline) {
  while (true) {
    const SystemCall call = next(deadline);
    const std::optional<std::size_t> argument = waitArgument(call.number);
    if (argument && call.arguments.at(*argument) != 0) {
      const double seconds = secondsIn(call, *argument);
      if (seconds > 0) {
        return seconds;
      }
    }
  }
}

double SystemCallTrace::secondsIn(const SystemCall& call, std::size_t argument) const {
  const unsigned long address = call.arguments.at(argument);
  return takesLongTimes(call.number) ? secondsAt<__kernel_timespec>(address)
                                     : secondsAt<__kernel_old_timespec>(address);
}

template <class Time>
double SystemCallTrace::secondsAt(unsigned long address) const {
  Time time{};
  const iovec here{&time, sizeof time};
  const iovec there{asPointer(address), sizeof time};
  if (::process_vm_readv(process_, &here, 1, &there, 1, 0) != static_cast<ssize_t>(sizeof time)) {
    throw sim::systemError("process_vm_readv(" + std::to_string(process_) + ")");
  }
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

}  // namespace support
