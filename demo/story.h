#pragma once

#include <string>
#include <vector>

#include "demo/console.h"
#include "demo/step.h"

namespace demo {

/** Steps that belong together. Each scene has a unit of its own, on which nothing is plugged in at first. */
struct Scene {
  std::string title;
  std::vector<Step> steps;
};

/** All scenes, in the order in which they are shown. */
[[nodiscard]] std::vector<Scene> story();

/**
 * Shows the scenes one after another, up to the first step that does not go as expected. Returns whether all
 * steps did.
 */
[[nodiscard]] bool show(const std::vector<Scene>& scenes, Console& console);

}  // namespace demo
