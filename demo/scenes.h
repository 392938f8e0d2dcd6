#pragma once

#include "demo/log.h"

namespace demo {

struct Step {
  std::string headline;    ///< what is done, in plain words
  Words commands;          ///< the same as one types it at the prompt
  std::vector<Line> seen;  ///< all that must come of it; the daemon may have more messages
  std::string outcome;     ///< that, in plain words
};

/** Each scene has a unit of its own, on which nothing is plugged in at first. */
struct Scene {
  std::string title;
  std::vector<Step> steps;
};

/** In the order in which they are shown. */
[[nodiscard]] std::vector<Scene> scenes();

}  // namespace demo
