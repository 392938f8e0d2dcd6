#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace fuzz {

/**
 * What the daemon shall do with the clients of its control socket, in the plainest way: who hears what, and
 * which descriptor numbers are whose. Clients go by numbers, too: in the order of their coming.
 */
class ControlModel {
 public:
  struct Link {
    std::string hostname;
    std::uint16_t port = 0;
    std::string speed;
    std::string interface;
    std::string inkey;
    std::string outkey;
  };

  explicit ControlModel(Link link) : link(std::move(link)) {}

  void leave(int client) { departed_.insert(client); }
  /** What the daemon does before it accepts a client: departed ones lose their numbers. */
  void closeDeparted();
  /** The client has got `number` and says `message`. False when the daemon ends because of it. */
  bool serve(int client, int number, const std::string& message);

  Link link;
  std::string lastRequest;
  std::list<int> waiting;            // numbers, each once, in the order of their first wait
  std::map<int, int> clients;        // that are connected, by number
  std::map<int, std::string> heard;  // by client
  std::optional<int> connection;     // the number of the control connection

 private:
  [[nodiscard]] bool isDeparted(int number) const;
  void hold(int client, int number);
  bool takeLine(const std::string& line);

  std::set<int> departed_;
};

}  // namespace fuzz
