#include "workers/worker_process.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "ctrl/signals.h"
#include "ulx/exceptions.h"
#include "ulx/program_call.h"
#include "workers/exit_status.h"

namespace {

// In the child: becomes the worker, or ends with the status that says it could not. The child works on the daemon's
// memory and stack while the daemon rests, so it calls only what a signal handler may call, and never returns.
[[noreturn]] void becomeWorker(ulx::ProgramCall& program, const ChangedSignals& signals, Orphan orphan,
                               pid_t daemon) {
  if (orphan == Orphan::isTerminated) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != daemon) {
      _exit(EXIT_SUCCESS);  // the daemon ended before the kernel knew
    }
  }
  signals.restoreDefaults();
  program.execute();
  _exit(execFailedStatus);
}

}  // namespace

// vfork spares the copy of the daemon's page tables, the larger part of a launch. A handler that ran in the child would
// change the daemon's memory, so signals wait until the child has left it.
pid_t createWorker(WorkerArguments arguments, Orphan orphan) {
  static const ChangedSignals changedSignals;  // complete: the daemon changes none while it serves
  ulx::ProgramCall program(arguments);
  const pid_t daemon = getpid();
  const SignalsBlocked blocked;
  const pid_t pid = vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork): see becomeWorker
  if (pid == 0) {
    becomeWorker(program, changedSignals, orphan, daemon);  // NOLINT(clang-analyzer-unix.Vfork)
  }
  if (pid == -1) {
    ulx::throwErrno("fork()", errno);
  }
  return pid;
}
