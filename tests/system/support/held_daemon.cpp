#include "system/support/held_daemon.h"

#include <cstddef>

#include "system/support/eventually.h"
#include "system/support/process_state.h"

namespace {

sim::LinkManager connectedTo(sim::Unit& unit) {
  const std::size_t before = unit.daemon().openDescriptors().size();
  sim::LinkManager client = unit.connect();
  eventually("the daemon's accept of a silent client",
             [&] { return unit.daemon().openDescriptors().size() > before; });
  waitUntilAsleep(unit.daemon().pid());
  return client;
}

}  // namespace

HeldDaemon::HeldDaemon(sim::Unit& unit) : silentClient_(connectedTo(unit)) {}

void HeldDaemon::release() {
  silentClient_.send("?");
  static_cast<void>(silentClient_.receiveAll());
}
