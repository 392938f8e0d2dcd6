#pragma once

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "sim/link_manager.h"

namespace demo {

/** The clients of the daemon's control socket. */
class ControlClients {
 public:
  /** Sends a line of link parameters; this connection takes the place of an earlier one, which is returned.
   */
  [[nodiscard]] std::optional<sim::LinkManager> deliver(sim::LinkManager connection, const std::string& line);
  /** Sends a query. */
  void ask(sim::LinkManager connection);
  /** What has come for queries until now; an empty answer stands for a connection that just ended. */
  std::vector<std::string> takeAnswers();
  [[nodiscard]] std::size_t unanswered() const { return asking_.size(); }
  [[nodiscard]] bool hasDelivered() const { return delivering_.has_value(); }
  /** Closes the connection that delivered the link parameters. */
  void closeDelivering() { delivering_.reset(); }

 private:
  std::optional<sim::LinkManager> delivering_;
  std::list<sim::LinkManager> asking_;
};

}  // namespace demo
