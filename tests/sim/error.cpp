#include "sim/error.h"

#include <cerrno>
#include <cstring>

#include "sim/state_report.h"

namespace sim {

TimedOut::TimedOut(const std::string& awaited)
    : Error("waited in vain for " + awaited + "\n" + allStateReports()) {}

Error systemError(const std::string& call) {
  return Error{call + ": " + std::strerror(errno)};
}

}  // namespace sim
