#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace soak {

/** What the daemon keeps of the clients of its control socket, by the numbers of its descriptors. */
class ControlModel {
 public:
  /** `taken`: what the daemon has open without any client. */
  explicit ControlModel(std::set<int> taken) : taken_(std::move(taken)) {}

  /** The next client connects: it gets a number, when those that have gone were closed. */
  int connect();
  /** It asked while no parameters were known. */
  void hold(int client) { waiting_.push_back(client); }
  void close(int client) { clients_.erase(client); }
  /** The client's end was closed; the daemon notices when the next one connects. */
  void leave(int client) { clients_[client] = Peer::gone; }

  /** Its parameters go to these connected clients, of which all but itself are closed. */
  std::vector<int> answerWaiting(int served);

  /** All descriptors that the daemon has open now. */
  [[nodiscard]] std::set<int> descriptors() const;

 private:
  enum class Peer { connected, gone };

  [[nodiscard]] bool hasGone(int number) const;

  std::set<int> taken_;
  std::map<int, Peer> clients_;
  std::vector<int> waiting_;  ///< emptied of those that have gone only
};

}  // namespace soak
