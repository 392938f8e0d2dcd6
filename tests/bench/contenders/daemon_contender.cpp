#include "bench/contenders/daemon_contender.h"

#include <unistd.h>

#include "sim/files.h"

namespace bench {

std::optional<std::string> DaemonContender::obstacle() const {
  if (::access(program_.c_str(), X_OK) == 0) {
    return {};
  }
  return program_ + " cannot be executed";
}

void DaemonContender::configure(const std::string& worker) const {
  sim::writeFile("/vel/quor.conf", "[apps]\nquor_usb_rx_generic = " + worker + "\n");
}

}  // namespace bench
