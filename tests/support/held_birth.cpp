#include "support/held_birth.h"

#include <sys/ptrace.h>
#include <sys/wait.h>

#include <string>

#include "sim/error.h"

namespace support {
namespace {

/** Whether it has created a process, by any of the calls that do. */
bool isBirth(int status) {
  const unsigned event = eventOf(status);
  return event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK || event == PTRACE_EVENT_CLONE;
}

bool isAtEntryOfCall(pid_t process) {
  __ptrace_syscall_info info{};
  ::ptrace(PTRACE_GET_SYSCALL_INFO, process, asPointer(sizeof info), &info);
  return info.op == PTRACE_SYSCALL_INFO_ENTRY;
}

int waitForStop(pid_t process, const sim::Deadline& deadline) {
  const int status = TracedStops::waitFor(process, deadline);
  if (!WIFSTOPPED(status)) {
    throw sim::Error("process " + std::to_string(process) + " has ended while it was traced");
  }
  return status;
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
    ::ptrace(PTRACE_CONT, creator_, nullptr, asPointer(signalOf(status)));
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
    signal = signalOf(status);
  }
}

void HeldBirth::release() {
  if (isHeld_ && ::ptrace(PTRACE_DETACH, child_, nullptr, nullptr) != 0) {
    ::waitpid(child_, nullptr, __WALL);  // it was killed: its parent learns of that behind who traces it
  }
  isHeld_ = false;
}

}  // namespace support
