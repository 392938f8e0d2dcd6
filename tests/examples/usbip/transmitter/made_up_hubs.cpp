#include "examples/usbip/transmitter/made_up_hubs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/wait.h"
#include "ulx/format.h"

namespace examples {
namespace {

const std::string directory = "/sys/devices/platform/vhci_hcd.0";

// Held open for writing, too, so that it never comes to its end.
sim::Descriptor makeFifo(const std::string& path) {
  if (::mkfifo(path.c_str(), 0600) != 0) {
    throw sim::systemError("mkfifo(" + path + ")");
  }
  return sim::Descriptor(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
}

std::string waitForText(const sim::Descriptor& fifo, const std::string& name, const sim::Deadline& deadline) {
  if (!sim::waitReadable(fifo.get(), deadline)) {
    throw sim::TimedOut("something that is written to " + name);
  }
  std::array<char, 4096> text{};
  return {text.data(),
          static_cast<std::size_t>(std::max<ssize_t>(::read(fifo.get(), text.data(), text.size()), 0))};
}

bool hasText(const sim::Descriptor& fifo) {
  return sim::waitReadable(fifo.get(), sim::Deadline(0));
}

}  // namespace

std::string freePort(const std::string& hub, unsigned number) {
  return ulx::formatString("%s  %04u 004 000 00000000 000000 0-0\n", hub.c_str(), number);
}

std::string usedPort(const std::string& hub, unsigned number, const std::string& localBusId) {
  return ulx::formatString("%s  %04u 006 003 00010002 000003 %s\n", hub.c_str(), number, localBusId.c_str());
}

MadeUpHubs::MadeUpHubs() {
  writeStatus(freePort("hs", 0) + freePort("hs", 1) + freePort("ss", 8) + freePort("ss", 9));
  attach_ = makeFifo(directory + "/attach");
  detach_ = makeFifo(directory + "/detach");
}

// At once, as the kernel does: who reads meanwhile sees the one or the other.
void MadeUpHubs::writeStatus(const std::string& rows) {
  sim::writeFile(directory + "/new", "hub port sta spd dev      sockfd local_busid\n" + rows);
  std::filesystem::rename(directory + "/new", directory + "/status");
}

std::string MadeUpHubs::waitForAttach(const sim::Deadline& deadline) {
  return waitForText(attach_, "attach", deadline);
}

std::string MadeUpHubs::waitForDetach(const sim::Deadline& deadline) {
  return waitForText(detach_, "detach", deadline);
}

bool MadeUpHubs::hasAttach() const {
  return hasText(attach_);
}

bool MadeUpHubs::hasDetach() const {
  return hasText(detach_);
}

void MadeUpHubs::refuseDevices() {
  std::filesystem::remove(directory + "/attach");
  std::filesystem::create_symlink("/dev/full", directory + "/attach");
}

void MadeUpHubs::unload() {
  std::filesystem::remove_all(directory);
}

}  // namespace examples
