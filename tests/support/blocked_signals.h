#pragma once

#include <csignal>
#include <set>

namespace support {

/** The signals that this thread blocks now. */
inline std::set<int> blockedSignals() {
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  std::set<int> signals;
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (sigismember(&blocked, signal) == 1) {
      signals.insert(signal);
    }
  }
  return signals;
}

}  // namespace support
