#pragma once

#include <string>

#include "sim/daemon.h"

namespace support {

/**
 * Waits until an error has ended the daemon with status 1, and returns the message of its error: the line
 * before the empty one with which such a daemon's standard error ends.
 */
std::string lastWordsOf(sim::Daemon& daemon);

}  // namespace support
