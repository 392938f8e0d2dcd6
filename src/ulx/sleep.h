#pragma once

namespace ulx {

/** Sleeps for `seconds`, whole however often a signal interrupts it. Throws "nanosleep". */
void sleepSeconds(double seconds);

}  // namespace ulx
