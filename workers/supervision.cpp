#include "workers/supervision.h"

#include <sys/wait.h>

#include <cerrno>

#include "ulx/exceptions.h"

// Ended workers are only forgotten: restarting those whose device is still there is not there yet.
void reapWorkers(RxCtrl& ctrl) {
  for (pid_t pid = waitpid(-1, nullptr, WNOHANG); pid != 0; pid = waitpid(-1, nullptr, WNOHANG)) {
    if (pid == -1) {
      if (errno == ECHILD) {
        return;
      }
      ulx::throwErrno("waitpid()", errno);
    }
    ctrl.workers.remove(pid);
  }
}
