#pragma once

#include <csignal>

namespace ulx {

/** A handler of SIGCHLD that is told how the child ended (sigaction(2), SA_SIGINFO). */
using ChildHandler = void (*)(int signal, siginfo_t* info, void* context);

/**
 * Installs `handler` for SIGCHLD: ended children only, not stopped or continued ones; no signal is blocked
 * while it runs besides SIGCHLD itself. Throws "sigaction(SIGCHLD)".
 */
void installChildHandler(ChildHandler handler);

}  // namespace ulx
