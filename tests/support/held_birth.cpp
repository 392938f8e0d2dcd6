#include "support/held_birth.h"

#include <sys/ptrace.h>
#include <sys/wait.h>

#include <csignal>

#include "sim/error.h"
#include "support/eventually.h"

namespace support {
namespace {

constexpr int stoppedInCall = SIGTRAP | 0x80;  // with PTRACE_O_TRACESYSGOOD

/** ptrace() takes numbers where its prototype has pointers. */
void* asPointer(unsigned long number) {
  return reinterpret_cast<void*>(number);  // NOLINT(performance-no-int-to-ptr)
}

unsigned eventOf(int status) {
  return static_cast<unsigned>(status) >> 16U;
}

/** Whether it has created a process, by any of the calls that do. */
bool isBirth(int status) {
  const unsigned event = eventOf(status);
  return event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK || event == PTRACE_EVENT_CLONE;
}

/** The signal that a stopped process is to get when it goes on. */
unsigned long signalFor(int status) {
  const int signal = WSTOPSIG(status);
  return eventOf(status) != 0 || signal == stoppedInCall ? 0 : static_cast<unsigned long>(signal);
}

/** The status of a process when it has stopped or ended. */
int waitForStop(pid_t process, const sim::Deadline& deadline) {
  int status = 0;
  eventually(
      "a stop of process " + std::to_string(process),
      [&] { return ::waitpid(process, &status, __WALL | WNOHANG) == process; }, deadline);
  if (!WIFSTOPPED(status)) {
    throw sim::Error("process " + std::to_string(process) + " has ended while it was traced");
  }
  return status;
}

bool isAtEntryOfCall(pid_t process) {
  __ptrace_syscall_info info{};
  ::ptrace(PTRACE_GET_SYSCALL_INFO, process, asPointer(sizeof info), &info);
  return info.op == PTRACE_SYSCALL_INFO_ENTRY;
}

}  // namespace

HeldBirth::HeldBirth(pid_t creator) : creator_(creator) {
  constexpr unsigned long options = PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE |
                                    PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC;
  if (::ptrace(PTRACE_SEIZE, creator, nullptr, asPointer(options)) != 0) {
    throw sim::systemError("ptrace(" + std::to_string(creator) + ")");
  }
}

HeldBirth::~HeldBirth() {
  release();
}

pid_t HeldBirth::waitForChild(const sim::Deadline& deadline) {
  waitForCreator(deadline);
  unsigned long child = 0;
  ::ptrace(PTRACE_GETEVENTMSG, creator_, nullptr, &child);
  child_ = static_cast<pid_t>(child);
  waitForStop(child_, deadline);
  isHeld_ = true;
  ::ptrace(PTRACE_DETACH, creator_, nullptr, nullptr);
  return child_;
}

void HeldBirth::waitForCreator(const sim::Deadline& deadline) {
  for (int status = waitForStop(creator_, deadline); !isBirth(status);
       status = waitForStop(creator_, deadline)) {
    ::ptrace(PTRACE_CONT, creator_, nullptr, asPointer(signalFor(status)));
  }
}

bool HeldBirth::runToNextCall(const sim::Deadline& deadline) {
  unsigned long signal = 0;
  while (true) {
    ::ptrace(PTRACE_SYSCALL, child_, nullptr, asPointer(signal));
    const int status = waitForStop(child_, deadline);
    if (eventOf(status) == PTRACE_EVENT_EXEC) {
      return false;
    }
    if (WSTOPSIG(status) == stoppedInCall && isAtEntryOfCall(child_)) {
      return true;
    }
    signal = signalFor(status);
  }
}

void HeldBirth::release() {
  if (isHeld_) {
    ::ptrace(PTRACE_DETACH, child_, nullptr, nullptr);
    isHeld_ = false;
  }
}

}  // namespace support
