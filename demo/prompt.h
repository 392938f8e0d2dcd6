#pragma once

#include <string>

#include "demo/log.h"
#include "demo/unit.h"

namespace demo {

constexpr Layout promptLayout = {false, 80, 66};

/** Starts the daemon, reads commands from standard input, and logs what happens until "quit" or the end. */
void runPrompt(Log& log);

/** Carries out one line; an empty one does nothing. Throws sim::Error, which says what is wrong with it. */
void carryOutCommand(const std::string& line, Unit& unit, Log& log);

/** What may come next in a line that begins with these words. */
[[nodiscard]] Words nextWords(const Words& before, const Unit& unit);

/** Divided by blanks; single quotes keep a word together. */
[[nodiscard]] Words wordsOf(const std::string& line);

}  // namespace demo
