#include "examples/usbip/exchange/stop_signals.h"

#include <sys/signalfd.h>

#include <cerrno>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

int openSignals() {
  const sigset_t signals = StopSignals::set();
  if (::sigprocmask(SIG_BLOCK, &signals, nullptr) != 0) {
    ulx::throwErrno("sigprocmask()", errno);
  }
  const int descriptor = ::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
  if (descriptor == -1) {
    ulx::throwErrno("signalfd()", errno);
  }
  return descriptor;
}

}  // namespace

StopSignals::StopSignals() : descriptor_(openSignals(), true) {}

sigset_t StopSignals::set() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  ::sigaddset(&signals, SIGINT);
  ::sigaddset(&signals, SIGHUP);  // the terminal has gone
  return signals;
}

}  // namespace usbip
