#pragma once

#include <functional>
#include <string>

namespace sim {

/**
 * What a part of the unit adds to the text of every TimedOut of the process while the object lives: a missing worker is mostly explained by the daemon's last lines.
 */
class StateReport {
 public:
  explicit StateReport(std::function<std::string()> describe);
  ~StateReport();
  StateReport(const StateReport&) = delete;
  StateReport& operator=(const StateReport&) = delete;

 private:
  friend std::string allStateReports();
  std::function<std::string()> describe_;
};

/** The texts of all reports that live, in the order in which they were made. */
[[nodiscard]] std::string allStateReports();

}  // namespace sim
