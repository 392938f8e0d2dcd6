#include "bench/peers/udevd.h"

#include <sys/mount.h>

#include <filesystem>

#include "sim/error.h"
#include "sim/files.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

/** Covers the rules of the machine. */
void hide(const fs::path& directory) {
  if (fs::exists(directory) && ::mount("bench", directory.c_str(), "tmpfs", MS_NOSUID, nullptr) != 0) {
    throw sim::systemError("mount(" + directory.string() + ")");
  }
}

}  // namespace

Udevd::Udevd() : Peer({"/usr/lib/systemd/systemd-udevd", "/lib/systemd/systemd-udevd"}) {}

void Udevd::configure(const std::string& worker) const {
  for (const char* rules : {"/etc/udev/rules.d", "/usr/local/lib/udev/rules.d", "/usr/lib/udev/rules.d"}) {
    hide(rules);
  }
  sim::writeFile("/run/udev/rules.d/90-bench.rules",
                 R"(ACTION=="add", ENV{DEVTYPE}=="usb_device", RUN+=")" + worker + " /sys%p\"\n");
}

std::vector<std::string> Udevd::command(const std::string& /*worker*/,
                                        const std::vector<std::string>& /*devices*/) const {
  return {program()};
}

}  // namespace bench
