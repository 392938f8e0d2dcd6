#pragma once

/** What a worker's exit status tells the daemon. */

/** The worker's program could not be executed: set by the forked child itself. */
inline constexpr int execFailedStatus = 42;
