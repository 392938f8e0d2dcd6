#include "examples/usbip/receiver/termination.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

namespace usbip {
namespace {

extern "C" void endAtOnce(int /*signal*/) {
  ::_exit(0);
}

// For poll: rounded up, so that a wait does not end before its deadline.
int millisecondsUntil(Clock::time_point deadline) {
  if (deadline == never) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

// They are held back by then: one in between is pending, and the descriptor has it.
Termination::Termination() {
  struct sigaction action {};
  action.sa_handler = endAtOnce;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    if (::sigaction(signal, &action, nullptr) != 0) {
      ulx::throwErrno("sigaction()", errno);
    }
  }
}

short Termination::waitFor(int descriptor, short events, Clock::time_point deadline) const {
  std::array<pollfd, 2> waited{{{.fd = pending_.fd(), .events = POLLIN, .revents = 0},
                                {.fd = descriptor, .events = events, .revents = 0}}};
  int ready = 0;
  do {
    ready = ::poll(waited.data(), waited.size(), millisecondsUntil(deadline));
  } while ((ready == -1 && errno == EINTR) || (ready == 0 && Clock::now() < deadline));
  if (ready == -1) {
    ulx::throwErrno("poll()", errno);
  }
  if (waited[0].revents != 0) {
    throw EndRequested();
  }
  return waited[1].revents;
}

void Termination::sleepUntil(Clock::time_point deadline) const {
  static_cast<void>(waitFor(-1, 0, deadline));
}

Termination::AtOnce::AtOnce(const Termination& /*termination*/) {
  const sigset_t signals = StopSignals::set();
  ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

Termination::AtOnce::~AtOnce() {
  const sigset_t signals = StopSignals::set();
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace usbip
