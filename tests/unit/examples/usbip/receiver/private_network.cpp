#include "unit/examples/usbip/receiver/private_network.h"

#include <arpa/inet.h>
#include <linux/ipv6.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>

#include "sim/descriptor.h"
#include "sim/error.h"
#include "sim/files.h"
#include "support/eventually.h"
#include "support/loopback.h"

namespace {

const std::string hosts = "/sim/hosts";

void expect(int result, const std::string& call) {
  if (result != 0) {
    throw sim::systemError(call);
  }
}

void showAt(const std::string& place, const std::string& file) {
  expect(::mount(file.c_str(), place.c_str(), nullptr, MS_BIND, nullptr),
         "mount(" + file + " on " + place + ")");
}

}  // namespace

PrivateNetwork::PrivateNetwork() {
  support::bringUpLoopback();
  sim::writeFile(hosts, "");
  showAt("/etc/hosts", hosts);
  sim::writeFile("/sim/nsswitch.conf", "hosts: files\n");
  showAt("/etc/nsswitch.conf", "/sim/nsswitch.conf");
}

void PrivateNetwork::setHosts(const std::string& lines) {
  sim::writeFile(hosts, lines);
}

// The kernel looks for a moment whether anybody else has the address.
void PrivateNetwork::addIpv6Address(const std::string& address) {
  const sim::Descriptor socket(::socket(AF_INET6, SOCK_DGRAM, 0));
  in6_ifreq request{};
  request.ifr6_prefixlen = 64;
  request.ifr6_ifindex = static_cast<int>(::if_nametoindex("lo"));
  ::inet_pton(AF_INET6, address.c_str(), &request.ifr6_addr);
  expect(::ioctl(socket.get(), SIOCSIFADDR, &request), "SIOCSIFADDR");
  sockaddr_in6 bound{};
  bound.sin6_family = AF_INET6;
  bound.sin6_addr = request.ifr6_addr;
  bound.sin6_scope_id = ::if_nametoindex("lo");
  support::eventually("the address " + address, [&] {
    return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&bound), sizeof bound) == 0;
  });
}

void PrivateNetwork::setOnlyLocalPort(const std::string& number) {
  sim::writeFile("/proc/sys/net/ipv4/ip_local_port_range", number + " " + number);
}
