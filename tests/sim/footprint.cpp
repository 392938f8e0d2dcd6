#include "sim/footprint.h"

#include <fstream>
#include <ostream>
#include <string>

#include "sim/error.h"
#include "sim/process_table.h"

namespace sim {

namespace {

std::string folderOf(pid_t process) {
  return "/proc/" + std::to_string(process);
}

long residentKilobytesOf(pid_t process) {
  std::ifstream status(folderOf(process) + "/status");
  for (std::string word; status >> word;) {
    if (long kilobytes = 0; word == "VmRSS:" && status >> kilobytes) {
      return kilobytes;
    }
  }
  throw Error("process " + std::to_string(process) + " has no resident memory");
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Footprint& footprint) {
  return out << footprint.residentKilobytes << " kB resident, " << footprint.descriptors << " descriptors, "
             << footprint.children << " children";
}

Footprint footprintOf(pid_t process) {
  return {residentKilobytesOf(process), openDescriptorsOf(process).size(), childrenOf(process).size()};
}

double processorSecondsOf(pid_t process) {
  constexpr double nanosecondsPerSecond = 1e9;
  double nanoseconds = 0;
  if (!(std::ifstream(folderOf(process) + "/schedstat") >> nanoseconds)) {
    throw Error("process " + std::to_string(process) + " has no time of a processor");
  }
  return nanoseconds / nanosecondsPerSecond;
}

}  // namespace sim
