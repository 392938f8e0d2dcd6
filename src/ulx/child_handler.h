#pragma once

#include <csignal>

namespace ulx {

/** A handler of SIGCHLD; `info` says how the child ended (sigaction(2), SA_SIGINFO). */
using ChildHandler = void (*)(int signal, siginfo_t* info, void* context);

/**
 * Installs `handler` for SIGCHLD. It runs for ended children only, not for stopped or continued ones. While
 * it runs, only SIGCHLD itself is blocked. Throws "sigaction(SIGCHLD)".
 */
void installChildHandler(ChildHandler handler);

}  // namespace ulx
