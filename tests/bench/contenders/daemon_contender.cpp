#include "bench/contenders/daemon_contender.h"

#include <unistd.h>

#include "sim/files.h"
#include "sim/link_manager.h"

namespace bench {

std::optional<std::string> DaemonContender::obstacle() const {
  if (::access(program_.c_str(), X_OK) == 0) {
    return {};
  }
  return program_ + " cannot be executed";
}

void DaemonContender::configure(const std::string& /*worker*/) const {
  sim::writeFile("/vel/quor.conf", "");
}

std::shared_ptr<void> DaemonContender::connectClients() const {
  auto linkManager = std::make_shared<sim::LinkManager>();
  linkManager->configure();
  return linkManager;
}

}  // namespace bench
