#include "support/loopback.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstring>

#include "sim/descriptor.h"
#include "sim/error.h"

namespace support {
namespace {

ifreq requestFor(const std::string& interface) {
  ifreq request{};
  interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
  return request;
}

void carryOut(unsigned long command, ifreq& request, const std::string& what) {
  const sim::Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (::ioctl(socket.get(), command, &request) != 0) {
    throw sim::systemError(what);
  }
}

}  // namespace

void bringUpLoopback() {
  ifreq request = requestFor("lo");
  request.ifr_flags = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
  carryOut(SIOCSIFFLAGS, request, "ioctl(SIOCSIFFLAGS of lo)");
}

void addAddress(const std::string& address) {
  ifreq request = requestFor("lo:1");
  sockaddr_in value{};
  value.sin_family = AF_INET;
  if (::inet_pton(AF_INET, address.c_str(), &value.sin_addr) != 1) {
    throw sim::Error(address + " is no IPv4 address");
  }
  std::memcpy(&request.ifr_addr, &value, sizeof value);
  carryOut(SIOCSIFADDR, request, "ioctl(SIOCSIFADDR " + address + ")");
}

}  // namespace support
