#pragma once

#include <sys/types.h>

#include <cstddef>
#include <iosfwd>

namespace sim {

/** What a process holds at one moment. */
struct Footprint {
  long residentKilobytes = 0;
  std::size_t descriptors = 0;
  std::size_t children = 0;
};

/** "1000 kB resident, 9 descriptors, 0 children". */
std::ostream& operator<<(std::ostream& out, const Footprint& footprint);

/** Throws Error when the process has ended. */
[[nodiscard]] Footprint footprintOf(pid_t process);

/** How long the process has had a processor so far, the kernel's work for it included. */
[[nodiscard]] double processorSecondsOf(pid_t process);

}  // namespace sim
