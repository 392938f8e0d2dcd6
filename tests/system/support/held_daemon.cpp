#include "system/support/held_daemon.h"

#include <csignal>

#include "system/support/control_messages.h"
#include "system/support/process_state.h"

namespace support {

HeldDaemon::HeldDaemon(sim::Unit& unit) : silentClient_(acceptedClient(unit)) {
  waitUntilAsleep(unit.daemon().pid());
}

std::string HeldDaemon::release() {
  silentClient_.send("?");
  return silentClient_.receiveAll();
}

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
