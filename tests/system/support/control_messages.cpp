#include "system/support/control_messages.h"

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
