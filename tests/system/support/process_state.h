#pragma once

#include <sys/types.h>

#include <set>
#include <string>

#include "sim/unit.h"

namespace support {

/** What the system shows of a running process. */
struct ProcessState {
  std::string workingDirectory;
  std::set<int> caughtSignals;
  std::set<int> ignoredSignals;
  std::set<int> blockedSignals;
};

ProcessState stateOf(pid_t process);

/** The process's umask. */
mode_t fileModeMaskOf(pid_t process);

/** The signals sent to the process that it has not taken yet. */
std::set<int> pendingSignalsOf(pid_t process);

/** How often the process has left the processor, of its own will or not: constant while it only waits. */
unsigned long long contextSwitchesOf(pid_t process);

/** Waits until the process sleeps. */
void waitUntilAsleep(pid_t process);

/** Waits until the process is stopped by a signal. */
void waitUntilStopped(pid_t process);

/** Waits until a child of the daemon has ended, and the daemon was sent the signal that says so. */
void waitUntilEnded(pid_t process);

/** Where a descriptor of the process leads ("/dev/null", "socket:[7]"). */
std::string targetOf(pid_t process, int descriptor);

/**
 * Waits until the daemon has gone once round its loop: what was pending in its sources before is then
 * served, though only one event and one client of several. It must debug to standard error.
 */
void settleEverySource(sim::Unit& unit);

}  // namespace support
