#include "workers/worker_process.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "ulx/exceptions.h"
#include "ulx/program_call.h"
#include "workers/exit_status.h"

namespace {

// In the child: becomes the worker, or ends with the status that says it could not. The child works on the daemon's
// memory and stack while the daemon rests, so it calls only what a signal handler may call, and never returns.
[[noreturn]] void becomeWorker(ulx::ProgramCall& program, const HeldSignals& held, Orphan orphan,
                               pid_t daemon) {
  if (orphan == Orphan::isTerminated) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != daemon) {
      _exit(EXIT_SUCCESS);  // the daemon ended before the kernel knew
    }
  }
  held.restoreDefaults();
  program.execute();
  _exit(execFailedStatus);
}

}  // namespace

// vfork spares the copy of the daemon's page tables, the larger part of a launch. A handler that ran in the child would
// change the daemon's memory: that is why signals are held until the child has none.
pid_t createWorker(const HeldSignals& held, WorkerArguments arguments, Orphan orphan) {
  ulx::ProgramCall program(arguments);
  const pid_t daemon = getpid();
  const pid_t pid = vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork): see becomeWorker
  if (pid == 0) {
    becomeWorker(program, held, orphan, daemon);  // NOLINT(clang-analyzer-unix.Vfork)
  }
  if (pid == -1) {
    ulx::throwErrno("fork()", errno);
  }
  return pid;
}
