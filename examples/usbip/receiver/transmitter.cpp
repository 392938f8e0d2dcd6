#include "examples/usbip/receiver/transmitter.h"

#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "examples/usbip/exchange/link_options.h"
#include "examples/usbip/receiver/failure_line.h"
#include "ulx/file_descriptor.h"

namespace usbip {
namespace {

constexpr std::chrono::seconds connectLimit{10};
constexpr std::chrono::milliseconds retryInterval{250};

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { ::freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

std::string nameOf(const Transmitter& transmitter) {
  return transmitter.host + " port " + transmitter.port;
}

[[noreturn]] void notReached(const Transmitter& transmitter, const std::string& why) {
  throw NotReached(nameOf(transmitter) + " is not reached: " + why);
}

// The lookup of a name knows no deadline and cannot be interrupted otherwise.
Addresses addressesOf(const Transmitter& transmitter, const Termination& termination) {
  const Termination::AtOnce nothingIsTakenYet(termination);
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* addresses = nullptr;
  const int error = ::getaddrinfo(transmitter.host.c_str(), transmitter.port.c_str(), &hints, &addresses);
  if (error != 0) {
    notReached(transmitter, error == EAI_SYSTEM ? std::strerror(errno) : ::gai_strerror(error));
  }
  return Addresses(addresses);
}

// "192.0.2.1" and "5000"
struct NumericAddress {
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
};

NumericAddress numericAddress(const sockaddr* address, socklen_t size) {
  NumericAddress text;
  const int error = ::getnameinfo(address, size, text.host.data(), text.host.size(), text.port.data(),
                                  text.port.size(), NI_NUMERICHOST | NI_NUMERICSERV);
  if (error != 0) {
    throw ulx::StrException(std::string("an address has no text: ") + ::gai_strerror(error));
  }
  return text;
}

void bindTo(const std::string& interface, int socket) {
  if (interface.empty() || ::if_nametoindex(interface.c_str()) == 0) {
    return;
  }
  if (::setsockopt(socket, SOL_SOCKET, SO_BINDTODEVICE, interface.data(),
                   static_cast<socklen_t>(interface.size())) != 0) {
    ulx::throwErrno({"setsockopt(SO_BINDTODEVICE, ", interface, ")"}, errno);
  }
}

struct Endpoint {
  sockaddr_storage address{};
  socklen_t size = sizeof(sockaddr_storage);
  [[nodiscard]] sockaddr* asSockaddr() { return reinterpret_cast<sockaddr*>(&address); }
};

// On its own machine, where nobody listens at a port, a connection may get that port itself and reach itself.
bool hasReachedItself(int socket) {
  Endpoint here;
  Endpoint there;
  return ::getsockname(socket, here.asSockaddr(), &here.size) == 0 &&
         ::getpeername(socket, there.asSockaddr(), &there.size) == 0 && here.size == there.size &&
         std::memcmp(&here.address, &there.address, here.size) == 0;
}

// Returns the error number of the connection, 0 once it is there.
int connectBefore(Clock::time_point deadline, int socket, const addrinfo& address,
                  const Termination& termination) {
  if (::connect(socket, address.ai_addr, address.ai_addrlen) == 0) {
    return 0;
  }
  if (errno != EINPROGRESS) {
    return errno;
  }
  if (termination.waitFor(socket, POLLOUT, deadline) == 0) {
    return ETIMEDOUT;
  }
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

// Returns a connected socket, which the caller owns.
int connectedSocket(const addrinfo& address, const std::string& interface, Clock::time_point deadline,
                    const Termination& termination) {
  const int created =
      ::socket(address.ai_family, address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol);
  if (created == -1) {
    ulx::throwErrno("socket()", errno);
  }
  ulx::FileDescriptor socket(created, true);
  bindTo(interface, created);
  int error = connectBefore(deadline, created, address, termination);
  if (error == 0 && hasReachedItself(created)) {
    error = ECONNREFUSED;
  }
  if (error != 0) {
    ulx::throwErrno({"connect(", numericAddress(address.ai_addr, address.ai_addrlen).host.data(), ")"},
                    error);
  }
  prepareLink(created);
  return socket.release();
}

std::vector<const addrinfo*> listOf(const Addresses& addresses) {
  std::vector<const addrinfo*> list;
  for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
    list.push_back(address);
  }
  return list;
}

Connection connectBefore(Clock::time_point deadline, const Transmitter& transmitter,
                         const Termination& termination, const Log& log) {
  const Addresses addresses = addressesOf(transmitter, termination);
  const std::vector<const addrinfo*> list = listOf(addresses);
  std::string failures;
  for (std::size_t i = 0; i < list.size(); ++i) {
    log.debug(std::string("connecting to ") +
              numericAddress(list[i]->ai_addr, list[i]->ai_addrlen).host.data() + " port " +
              transmitter.port);
    // Those that follow have their share of the time, so that a silent address hides none of them.
    const auto now = Clock::now();
    const auto share = (deadline - now) / static_cast<Clock::rep>(list.size() - i);
    try {
      return {connectedSocket(*list[i], transmitter.interface, now + share, termination), termination};
    } catch (const ulx::ErrnoException& error) {
      failures += (failures.empty() ? "" : ", ") + failureLine(error);
    }
  }
  notReached(transmitter, failures);
}

}  // namespace

Connection connectTo(const Transmitter& transmitter, const Termination& termination, const Log& log) {
  return connectBefore(Clock::now() + connectLimit, transmitter, termination, log);
}

Connection connectWithin(std::chrono::seconds patience, const Transmitter& transmitter,
                         const Termination& termination, const Log& log) {
  const Clock::time_point end = Clock::now() + patience;
  for (;;) {
    const Clock::time_point now = Clock::now();
    try {
      return connectBefore(std::min(std::max(end, now + retryInterval), now + connectLimit), transmitter,
                           termination, log);
    } catch (const NotReached& failure) {
      log.debug(failure.message);
      if (Clock::now() >= end) {
        throw AwaitedInVain("waited in vain: " + failure.message);
      }
    }
    termination.sleepUntil(std::min(end, Clock::now() + retryInterval));
  }
}

std::string farEndOf(const Connection& connection) {
  Endpoint end;
  if (::getpeername(connection.socket(), end.asSockaddr(), &end.size) != 0) {
    ulx::throwErrno("getpeername()", errno);
  }
  const NumericAddress text = numericAddress(end.asSockaddr(), end.size);
  return std::string(text.host.data()) + " port " + text.port.data();
}

}  // namespace usbip
