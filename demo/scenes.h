#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "demo/log.h"

namespace demo {

/**
 * Shows a step: says what is done, carries out the commands as if they were typed at the prompt, checks that
 * `seen` comes of it (the daemon may have more messages), and says what that means.
 */
using Step = std::function<void(const std::string& headline, const Words& commands,
                                const std::vector<Line>& seen, const std::string& outcome)>;

/** A title, and the steps on a unit on which nothing is plugged in at first. */
using Scene = std::pair<std::string, void (*)(const Step& step)>;

/** In the order in which they are shown. */
[[nodiscard]] std::vector<Scene> scenes();

/** The other thing to show: carries out what is typed, up to "quit" or the end of the input. */
void runPrompt();

}  // namespace demo
