#pragma once

#include <string>

#include "demo/console.h"
#include "demo/stage.h"

namespace demo {

/** What follows a command. */
enum class Next { GoOn, Quit };

/** Carries out one line; an empty one does nothing. What is wrong with it is thrown as sim::Error. */
Next carryOutCommand(const std::string& line, Stage& stage, Console& console);

}  // namespace demo
