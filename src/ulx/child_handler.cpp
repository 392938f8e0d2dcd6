#include "ulx/child_handler.h"

#include <cerrno>

#include "ulx/exceptions.h"

namespace ulx {

void installChildHandler(ChildHandler handler) {
  struct sigaction action {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_NOCLDSTOP | SA_SIGINFO;
  sigemptyset(&action.sa_mask);
  if (sigaction(SIGCHLD, &action, nullptr) == -1) {
    throwErrno("sigaction(SIGCHLD)", errno);
  }
}

}  // namespace ulx
