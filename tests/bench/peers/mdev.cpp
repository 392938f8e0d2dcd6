#include "bench/peers/mdev.h"

#include <sys/mount.h>

#include <filesystem>

#include "bench/peers/mdev_rules.h"
#include "sim/error.h"
#include "sim/files.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

/** The unit shows the machine's own /etc. This one shows the same, and can be written to. */
void makePrivateEtc() {
  const fs::path machinesEtc = "/sim/etc";
  fs::create_directories(machinesEtc);
  if (::mount("/etc", machinesEtc.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0 ||
      ::mount("bench", "/etc", "tmpfs", MS_NOSUID, "mode=0755") != 0) {
    throw sim::systemError("mount(/etc)");
  }
  for (const fs::path& entry : sim::entriesOf(machinesEtc)) {
    fs::create_symlink(entry, "/etc" / entry.filename());
  }
}

}  // namespace

Mdev::Mdev() : Peer({"/bin/busybox", "/usr/bin/busybox"}) {}

void Mdev::configure(const std::string& worker) const {
  makePrivateEtc();
  fs::remove("/etc/mdev.conf");  // a link to the machine's, where that has one
  sim::writeFile("/etc/mdev.conf", mdevRules(worker));
}

std::vector<std::string> Mdev::command(const std::string& /*worker*/,
                                       const std::vector<std::string>& /*devices*/) const {
  return {program(), "mdev", "-d", "-f"};
}

}  // namespace bench
