#include "bench/peers/mdevd.h"

#include "bench/peers/mdev_rules.h"
#include "sim/files.h"

namespace bench {

namespace {

constexpr const char* rules = "/sim/mdevd.conf";
constexpr const char* receiveBufferBytes = "16777216";  // as much as the daemon asks for

}  // namespace

Mdevd::Mdevd() : Peer({"/usr/bin/mdevd", "/bin/mdevd", "/usr/sbin/mdevd", "/sbin/mdevd"}) {}

void Mdevd::configure(const std::string& worker) const {
  sim::writeFile(rules, mdevRules(worker));
}

std::vector<std::string> Mdevd::command(const std::string& /*worker*/,
                                        const std::vector<std::string>& /*devices*/) const {
  return {program(), "-b", receiveBufferBytes, "-f", rules};
}

}  // namespace bench
