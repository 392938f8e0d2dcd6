#include "examples/usbip/receiver/transmitter.h"

#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "examples/usbip/exchange/failure_line.h"
#include "examples/usbip/exchange/link_options.h"
#include "examples/usbip/receiver/addresses.h"
#include "ulx/file_descriptor.h"

namespace usbip {
namespace {

constexpr std::chrono::seconds connectLimit{10};
constexpr std::chrono::milliseconds retryInterval{250};

[[noreturn]] void notReached(const Transmitter& transmitter, const std::string& why) {
  throw NotReached(transmitter.host + " port " + transmitter.port + " is not reached: " + why);
}

std::vector<Address> addressesOf(const Transmitter& transmitter, const Termination& termination) {
  try {
    return addressesOf(transmitter.host, transmitter.port, termination);
  } catch (const ulx::StrException& failure) {
    notReached(transmitter, failure.message);
  }
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

// Returns the error number of the connection, 0 once it is there.
int connectBefore(Clock::time_point deadline, int socket, const Address& address,
                  const Termination& termination) {
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address.bytes), address.size) == 0) {
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

// A connection to a port of this machine at which nobody listens may get that port for itself, and reach itself.
bool hasReachedItself(int socket, const Address& address) {
  sockaddr_storage here{};
  socklen_t size = sizeof here;
  return ::getsockname(socket, reinterpret_cast<sockaddr*>(&here), &size) == 0 && size == address.size &&
         std::memcmp(&here, &address.bytes, size) == 0;
}

// Returns a connected socket, which the caller owns. Throws the class of a failed call's error number.
int connectedSocket(const Address& address, const std::string& interface, Clock::time_point deadline,
                    const Termination& termination) {
  const int created = ::socket(address.bytes.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (created == -1) {
    ulx::throwErrno("socket()", errno);
  }
  ulx::FileDescriptor socket(created, true);
  bindTo(interface, created);
  int error = connectBefore(deadline, created, address, termination);
  if (error == 0 && hasReachedItself(created, address)) {
    error = ECONNREFUSED;
  }
  if (error != 0) {
    throw ulx::ErrnoException("connect(" + address.text + ")", error);
  }
  prepareLink(created);
  return socket.release();
}

// `limit` begins when the addresses are known.
Connection connectTo(const Transmitter& transmitter, Clock::duration limit, const Termination& termination,
                     const Log& log) {
  const std::vector<Address> addresses = addressesOf(transmitter, termination);
  const Clock::time_point deadline = Clock::now() + limit;
  std::string failures;
  auto left = static_cast<Clock::rep>(addresses.size());
  for (const Address& address : addresses) {
    // Those that follow have their share of the time, so that a silent address hides none of them.
    const Clock::time_point now = Clock::now();
    const Clock::time_point turn = now + (deadline - now) / left--;
    log.debug("connecting to " + address.text);
    try {
      return {connectedSocket(address, transmitter.interface, turn, termination), address.text, termination};
    } catch (const ulx::ErrnoException& failure) {
      failures += (failures.empty() ? "" : ", ") + failureLine(failure);
    }
  }
  notReached(transmitter, failures);
}

}  // namespace

Connection connectTo(const Transmitter& transmitter, const Termination& termination, const Log& log) {
  return connectTo(transmitter, connectLimit, termination, log);
}

Connection connectWithin(std::chrono::seconds patience, const Transmitter& transmitter,
                         const Termination& termination, const Log& log) {
  const Clock::time_point end = Clock::now() + patience;
  for (;;) {
    const auto limit = std::clamp<Clock::duration>(end - Clock::now(), retryInterval, connectLimit);
    try {
      return connectTo(transmitter, limit, termination, log);
    } catch (const NotReached& failure) {
      log.debug(failure.message);
      if (Clock::now() >= end) {
        throw AwaitedInVain("waited in vain: " + failure.message);
      }
    }
    termination.sleepUntil(std::min(end, Clock::now() + retryInterval));
  }
}

}  // namespace usbip
