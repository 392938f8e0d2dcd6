#pragma once

namespace ulx {

/** Sleeps for `seconds` in full: after a signal it sleeps the rest. Throws "nanosleep". */
void sleepSeconds(double seconds);

}  // namespace ulx
