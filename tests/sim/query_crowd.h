#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/descriptor.h"

namespace sim {

/** Clients of the control socket that ask at the same time, each in a process of its own. */
class QueryCrowd {
 public:
  /** Each client asks so many times, one query after another; connecting blocks while the daemon's queue is full.
   * A client whose answer is not exactly `expected` stops asking. */
  QueryCrowd(int clients, int queriesOfEach, const std::string& expected);
  /** Ends those that still ask. */
  ~QueryCrowd();
  QueryCrowd(const QueryCrowd&) = delete;
  QueryCrowd& operator=(const QueryCrowd&) = delete;

  /** Waits until every query has been answered as expected. */
  void waitUntilAnswered(const Deadline& deadline);
  /** How many have been answered so far. */
  [[nodiscard]] int answered();

 private:
  void countAnswers();

  std::vector<pid_t> clients_;
  Descriptor answers_;  ///< a pipe: each byte is an answer
  int expected_;
  int answered_ = 0;
};

}  // namespace sim
