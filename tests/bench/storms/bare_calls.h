#pragma once

/** What the kernel alone takes for calls whose cost grows with a daemon's workers; nothing of the daemon is measured. */
namespace bench {

/** Microseconds of processor time for one look after ended children, beside so many that rest. */
double microsecondsToLookAfterChildren(int children);

}  // namespace bench
