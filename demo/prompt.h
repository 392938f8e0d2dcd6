#pragma once

namespace demo {

/** Starts the daemon and carries out the lines of standard input, up to "quit" or the end. */
void runPrompt();

}  // namespace demo
