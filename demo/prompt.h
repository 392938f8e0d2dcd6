#pragma once

#include "demo/log.h"
#include "demo/unit.h"

namespace demo {

/** Starts the daemon and carries out the lines of standard input, up to "quit" or the end. */
void runPrompt();

/** Carries out one line; an empty one does nothing. Throws sim::Error, which says what is wrong with it. */
void carryOutCommand(const std::string& line, Unit& unit, Log& log);

/** What may come next in a line that begins with these words. */
[[nodiscard]] Words nextWords(const Words& before, const Unit& unit);

}  // namespace demo
