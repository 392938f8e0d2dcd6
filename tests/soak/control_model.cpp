#include "soak/control_model.h"

#include <algorithm>

namespace soak {

int ControlModel::connect() {
  std::erase_if(waiting_, [this](int number) { return hasGone(number); });
  std::erase_if(clients_, [](const auto& client) { return client.second == Peer::gone; });
  int number = 0;
  while (taken_.contains(number) || clients_.contains(number)) {
    ++number;
  }
  clients_[number] = Peer::connected;
  return number;
}

bool ControlModel::hasGone(int number) const {
  const auto client = clients_.find(number);
  return client != clients_.end() && client->second == Peer::gone;
}

std::vector<int> ControlModel::answerWaiting(int served) {
  std::vector<int> answered;
  for (const int number : waiting_) {
    const bool isDue = clients_.contains(number) && std::ranges::find(answered, number) == answered.end();
    if (isDue) {
      answered.push_back(number);
    }
  }
  for (const int number : answered) {
    if (number != served) {
      close(number);
    }
  }
  return answered;
}

std::set<int> ControlModel::descriptors() const {
  std::set<int> all = taken_;
  for (const auto& [number, peer] : clients_) {
    all.insert(number);
  }
  return all;
}

}  // namespace soak
