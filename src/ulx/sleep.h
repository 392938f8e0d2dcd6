#pragma once

namespace ulx {

/**
 * Sleeps for `seconds` in full: after a signal it sleeps the rest. Throws "nanosleep", with EINVAL for a
 * negative time, for one that 32 bits of seconds cannot hold, and for what is no number.
 */
void sleepSeconds(double seconds);

}  // namespace ulx
