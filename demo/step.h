#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "demo/chronicle.h"
#include "demo/happenings.h"
#include "demo/stage.h"

namespace demo {

/** All that a step may bring about: what is not named here must not happen. */
struct Expected {
  std::vector<std::string> daemonSays = {};  ///< among its lines, without the tag; it may say more
  std::vector<CommandLine> workers = {};     ///< started, in this order
  std::vector<std::string> display = {};     ///< in any order
  std::vector<std::string> answers = {};     ///< to queries
  std::vector<std::string> ended = {};       ///< programs of workers, in any order
  std::optional<int> exitStatus = {};        ///< of the daemon, if it ends
};

/** Something that somebody does, and what must come of it. */
struct Step {
  std::string headline;  ///< what is done, in plain words
  std::function<void(Stage&)> action;
  Expected expected = {};
  std::string outcome;  ///< what came of it, in plain words; told when it did
};

/** What differs, one text for each difference; none when all is as expected. */
[[nodiscard]] std::vector<std::string> differences(const Expected& expected, const Happenings& happened);

}  // namespace demo
