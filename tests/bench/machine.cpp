#include "bench/machine.h"

#include <sched.h>
#include <sys/utsname.h>

#include <fstream>

namespace bench {

namespace {

/** What /proc/cpuinfo calls the processor; not every architecture names a model there. */
std::string processorName(const std::string& architecture) {
  std::ifstream processors("/proc/cpuinfo");
  for (std::string line; std::getline(processors, line);) {
    const std::size_t colon = line.find(": ");
    if (colon != std::string::npos && (line.starts_with("model name") || line.starts_with("cpu\t"))) {
      return line.substr(colon + 2) + " (" + architecture + ")";
    }
  }
  return architecture;
}

int usableProcessors() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  ::sched_getaffinity(0, sizeof processors, &processors);
  return CPU_COUNT(&processors);
}

}  // namespace

Machine thisMachine() {
  utsname system{};
  ::uname(&system);
  return {.kernel = std::string(system.sysname) + " " + system.release,
          .processor = processorName(system.machine),
          .processors = usableProcessors()};
}

}  // namespace bench
