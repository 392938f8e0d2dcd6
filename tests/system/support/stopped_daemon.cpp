#include "system/support/stopped_daemon.h"

#include <csignal>

#include "system/support/process_state.h"

namespace support {

StoppedDaemon::StoppedDaemon(sim::Unit& unit) : daemon_(unit.daemon()) {
  settleEverySource(unit);
  waitUntilAsleep(daemon_.pid());
  daemon_.signal(SIGSTOP);
  waitUntilStopped(daemon_.pid());
}

// cppcheck-suppress functionConst ; it changes the daemon
void StoppedDaemon::resume() {
  daemon_.signal(SIGCONT);
}

}  // namespace support
