#include "examples/usbip/transmitter/peer_address.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

#include <array>
#include <cstring>

namespace usbip {
namespace {

template <class Address>
std::string numeric(int family, const Address& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  ::inet_ntop(family, &address, text.data(), text.size());
  return text.data();
}

PeerAddress ofIpv4(const in_addr& address) {
  return {.text = numeric(AF_INET, address),
          .isLocal = ntohl(address.s_addr) >> IN_CLASSA_NSHIFT == IN_LOOPBACKNET};
}

// A link-local address means something on its link only.
std::string zoneOf(std::uint32_t interface) {
  std::array<char, IF_NAMESIZE> name{};
  if (interface == 0) {
    return "";
  }
  return "%" +
         (::if_indextoname(interface, name.data()) != nullptr ? name.data() : std::to_string(interface));
}

PeerAddress ofIpv6(const sockaddr_in6& address) {
  if (IN6_IS_ADDR_V4MAPPED(&address.sin6_addr)) {
    in_addr mapped{};
    std::memcpy(&mapped, address.sin6_addr.s6_addr + 12, sizeof mapped);
    return ofIpv4(mapped);
  }
  return {.text = numeric(AF_INET6, address.sin6_addr) + zoneOf(address.sin6_scope_id),
          .isLocal = IN6_IS_ADDR_LOOPBACK(&address.sin6_addr) != 0};
}

template <class Address>
Address as(const sockaddr_storage& storage) {
  Address address{};
  std::memcpy(&address, &storage, sizeof address);
  return address;
}

}  // namespace

PeerAddress peerAddressOf(const sockaddr_storage& address) {
  switch (address.ss_family) {
    case AF_INET:
      return ofIpv4(as<sockaddr_in>(address).sin_addr);
    case AF_INET6:
      return ofIpv6(as<sockaddr_in6>(address));
    default:
      return {.text = "an unknown address"};
  }
}

}  // namespace usbip
