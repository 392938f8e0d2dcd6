#include "examples/usbip/receiver/addresses.h"

#include <netdb.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { ::freeaddrinfo(addresses); }
};
using FoundAddresses = std::unique_ptr<addrinfo, FreeAddresses>;

[[noreturn]] void failed(int error) {
  throw ulx::StrException(error == EAI_SYSTEM ? std::strerror(errno) : ::gai_strerror(error));
}

FoundAddresses lookUp(const std::string& host, const std::string& port, const Termination& termination) {
  const Termination::AtOnce nothingIsTakenYet(termination);
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int error = ::getaddrinfo(host.c_str(), port.c_str(), &wanted, &found);
  if (error != 0) {
    failed(error);
  }
  return FoundAddresses(found);
}

std::string textOf(const addrinfo& address, const std::string& port) {
  std::array<char, NI_MAXHOST> host{};
  const int error = ::getnameinfo(address.ai_addr, address.ai_addrlen, host.data(), host.size(), nullptr, 0,
                                  NI_NUMERICHOST);
  if (error != 0) {
    failed(error);
  }
  return std::string(host.data()) + " port " + port;
}

Address addressIn(const addrinfo& found, const std::string& port) {
  Address address{.size = found.ai_addrlen, .text = textOf(found, port)};
  std::memcpy(&address.bytes, found.ai_addr, found.ai_addrlen);
  return address;
}

}  // namespace

std::vector<Address> addressesOf(const std::string& host, const std::string& port,
                                 const Termination& termination) {
  const FoundAddresses found = lookUp(host, port, termination);
  std::vector<Address> addresses;
  for (const addrinfo* address = found.get(); address != nullptr; address = address->ai_next) {
    addresses.push_back(addressIn(*address, port));
  }
  return addresses;
}

}  // namespace usbip
