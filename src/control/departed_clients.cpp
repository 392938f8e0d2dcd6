#include "control/departed_clients.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <vector>

namespace {

// Any of the numbers may be stale: nobody's by now, or another descriptor's.
std::vector<pollfd> keptClients(const RxCtrl& ctrl) {
  std::set<int> numbers = ctrl.replacedConnections;
  numbers.insert(ctrl.waitingClients.begin(), ctrl.waitingClients.end());
  if (ctrl.controlConnection != nullptr) {
    numbers.erase(ctrl.controlConnection->fd());
  }
  std::vector<pollfd> clients;
  std::transform(numbers.begin(), numbers.end(), std::back_inserter(clients),
                 [](int number) { return pollfd{.fd = number, .events = 0, .revents = 0}; });
  return clients;
}

bool isHungUp(const pollfd& client) {
  return (client.revents & POLLHUP) != 0;
}

void forgetClosedConnections(RxCtrl& ctrl) {
  std::erase_if(ctrl.replacedConnections, [&ctrl](int number) { return !ctrl.listener.hasClient(number); });
}

}  // namespace

void closeDepartedClients(RxCtrl& ctrl) {
  std::vector<pollfd> clients = keptClients(ctrl);
  if (clients.empty()) {
    return;
  }
  poll(clients.data(), clients.size(), 0);  // where it fails, none is hung up
  for (const pollfd& client : clients) {
    if (isHungUp(client) && ctrl.listener.hasClient(client.fd)) {
      close(client.fd);
      ctrl.waitingClients.remove(client.fd);
    }
  }
  forgetClosedConnections(ctrl);
}
