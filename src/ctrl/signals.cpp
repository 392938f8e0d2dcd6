#include "ctrl/signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "ctrl/messages.h"
#include "ctrl/settings.h"
#include "ulx/child_handler.h"
#include "ulx/exceptions.h"
#include "ulx/pipe.h"
#include "ulx/write_once.h"
#include "workers/exit_status.h"

namespace {

// Opens something harmless for each of the descriptors 0 to 2 that nobody opened: one of the daemon's own
// would take its number, and log lines or the output of workers would go there.
class StandardDescriptors {
 public:
  StandardDescriptors() {
    int fd = -1;
    do {
      fd = openHarmless();
    } while (fd >= STDIN_FILENO && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) {
      ::close(fd);
    }
  }

 private:
  static int openHarmless() {
    const int fd = ::open("/dev/null", O_RDWR);
    return fd == -1 ? ::open("/", O_RDONLY) : fd;
  }
};

// The SIGCHLD handler writes to it and the main loop reads from it. It exists before main, so the handler
// finds it at any time. It holds no heap memory, so the handler may end the program at any instant.
class ChildExitPipe {
 public:
  // Nobody is there yet to catch what fails here.
  ChildExitPipe() try {
    pipe_.readEnd.setCloseOnExec();
    pipe_.writeEnd.setCloseOnExec();
    // A full pipe already says what one more byte would say: the handler must not wait for room.
    ::fcntl(pipe_.writeEnd.fd(), F_SETFL, O_NONBLOCK);
  } catch (const ulx::Exception& e) {
    ulx::writeOnce(STDERR_FILENO, e.text());
    ::_exit(e.status);
  }

  [[nodiscard]] const ulx::FileDescriptor& readEnd() const { return pipe_.readEnd; }

  // Only what a signal handler may do.
  void notify() const { ulx::writeOnce(pipe_.writeEnd.fd(), "!"); }

 private:
  StandardDescriptors standardDescriptors_;
  ulx::Pipe pipe_;
};

ChildExitPipe childExitPipe;

// Runs at any instant: only a write and, on the way out, the mask and exit.
void onChildSignal(int /*signal*/, siginfo_t* info, void* /*context*/) {
  const int interruptedErrno = errno;
  if (info->si_code == CLD_EXITED && info->si_status == execFailedStatus) {
    endAfterFailedExec();
  }
  childExitPipe.notify();
  errno = interruptedErrno;
}

void onHangup(int /*signal*/) {
  policyReloadRequested = 1;
}

void changeMask(int how, int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  sigprocmask(how, &set, nullptr);
}

void block(int signal) {
  changeMask(SIG_BLOCK, signal);
}

// The program that started the daemon may have left the signal blocked.
void unblock(int signal) {
  changeMask(SIG_UNBLOCK, signal);
}

// Those whose disposition is not the default. A few signals belong to the C library: sigaction does not know them.
sigset_t findChangedSignals() {
  sigset_t changed;
  sigemptyset(&changed);
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_DFL) {
      sigaddset(&changed, signal);
    }
  }
  return changed;
}

// Found out once: no disposition changes while the daemon serves.
const sigset_t& changedSignals() {
  static const sigset_t changed = findChangedSignals();
  return changed;
}

}  // namespace

const ulx::FileDescriptor& childExitReadEnd() {
  return childExitPipe.readEnd();
}

void installChildHandler() {
  ulx::installChildHandler(onChildSignal);
  unblock(SIGCHLD);
}

void endAfterFailedExec() {
  block(SIGCHLD);  // a second such child must not end the program within its end
  if (settings.debugCtrl) {
    ulx::writeOnce(STDERR_FILENO, "[RxCtrl] *** subprocess exec() failed; maybe not found? ***\n");
  }
  std::exit(EXIT_FAILURE);
}

void catchHangups() {
  struct sigaction action {};
  action.sa_handler = onHangup;
  sigemptyset(&action.sa_mask);
  sigaction(SIGHUP, &action, nullptr);
  unblock(SIGHUP);
}

void installHangupHandler() {
  catchHangups();
  logDebug("setup signal hansler");  // spelt so for good
}

void ignoreBrokenPipes() {
  std::signal(SIGPIPE, SIG_IGN);
}

HeldSignals::HeldSignals() : held_(changedSignals()) {
  sigprocmask(SIG_BLOCK, &held_, &formerMask_);
}

HeldSignals::~HeldSignals() {
  sigprocmask(SIG_SETMASK, &formerMask_, nullptr);
}

void HeldSignals::restoreDefaults() const {
  struct sigaction defaultAction {};
  defaultAction.sa_handler = SIG_DFL;
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (sigismember(&held_, signal) == 1) {
      sigaction(signal, &defaultAction, nullptr);
    }
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}
