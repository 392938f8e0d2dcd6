#include "system/support/control_messages.h"

#include "sim/error.h"
#include "support/eventually.h"
#include "system/support/process_state.h"

namespace support {

std::string askForParameters(sim::Unit& unit) {
  sim::LinkManager client = unit.connect();
  client.send("?");
  return client.receiveAll();
}

sim::LinkManager deliver(sim::Unit& unit, const std::string& line) {
  sim::LinkManager manager = unit.connect();
  manager.send(line);
  askForParameters(unit);  // clients are served in the order in which they have connected
  return manager;
}

sim::LinkManager acceptedClient(sim::Unit& unit, const std::string& message) {
  const std::size_t before = unit.daemon().openDescriptors().size();
  sim::LinkManager client = unit.connect();
  client.send(message);
  eventually("the daemon's accept of a client",
             [&] { return unit.daemon().openDescriptors().size() > before; });
  return client;
}

sim::LinkManager silentClient(sim::Unit& unit) {
  sim::LinkManager client = acceptedClient(unit, "");
  waitUntilAsleep(unit.daemon().pid());
  return client;
}

bool isSilentAndOpen(sim::LinkManager& client) {
  try {
    static_cast<void>(client.receive(sim::Deadline(0)));
    return false;
  } catch (const sim::TimedOut&) {
    return true;
  }
}

}  // namespace support
