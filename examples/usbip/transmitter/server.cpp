#include "examples/usbip/transmitter/server.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include "examples/usbip/exchange/failure_line.h"
#include "examples/usbip/exchange/link_options.h"
#include "examples/usbip/transmitter/virtual_ports.h"
#include "ulx/exceptions.h"
#include "ulx/format.h"

namespace usbip {
namespace {

constexpr std::size_t callersAtOnce = 16;
// A connection for which there is no descriptor goes on waiting, and wakes every wait at once.
constexpr std::chrono::seconds restAfterFailedAccept{1};

/** A device that is not taken. */
class NotTaken : public ulx::StrException {
 public:
  NotTaken(Verdict why, std::string text) : StrException(std::move(text)), verdict(why) {}

  Verdict verdict;
};

std::string kindOf(const Offer& device) {
  return "(" + productIdOf(device.descriptor) + ", " + std::string(nameOf(device.speed)) + ")";
}

std::vector<VirtualPort> portsNow() {
  try {
    return readPorts();
  } catch (const ulx::Exception& e) {
    throw NotTaken(Verdict::notAttached, failureLine(e));
  }
}

std::vector<VirtualPort> freePortsFor(Speed speed) {
  const std::optional<Hub> hub = hubFor(speed);
  if (!hub) {
    throw NotTaken(Verdict::speedNotTaken, "devices of this speed are not taken");
  }
  std::vector<VirtualPort> ports = freePortsOf(*hub, portsNow());
  if (ports.empty()) {
    throw NotTaken(Verdict::noFreePort, "no port is free");
  }
  return ports;
}

}  // namespace

Server::Server(std::uint16_t port, const Admission& admission, const Log& log)
    : admission_(admission), log_(log), listener_(port), devices_(log) {}

void Server::serve() {
  for (PollSet events = waitForEvents(); !events.hasEvent(stopSignals_.fd()); events = waitForEvents()) {
    devices_.forgetGone(events);
    serveCallers(events);
    if (events.hasEvent(listener_.fd())) {
      acceptCaller();
    }
  }
  callers_.clear();
  devices_.detachAll();
}

PollSet Server::waitForEvents() const {
  PollSet events;
  events.add(stopSignals_.fd(), POLLIN);
  if (Caller::Clock::now() >= acceptAgain_) {
    events.add(listener_.fd(), POLLIN);
  }
  for (const Caller& caller : callers_) {
    events.add(caller.fd(), POLLIN);
  }
  devices_.watch(events);
  events.wait(millisecondsToWait());
  return events;
}

// Until the next deadline, or without limit.
int Server::millisecondsToWait() const {
  constexpr int noLimit = -1;
  const auto now = Caller::Clock::now();
  auto next = Caller::Clock::time_point::max();
  if (acceptAgain_ > now) {
    next = acceptAgain_;
  }
  for (const Caller& caller : callers_) {
    next = std::min(next, caller.deadline());
  }
  if (next == Caller::Clock::time_point::max()) {
    return noLimit;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(std::max(next, now) - now);
  return static_cast<int>(left.count());
}

void Server::serveCallers(const PollSet& events) {
  for (Caller& caller : callers_) {
    serve(caller, events.hasEvent(caller.fd()));
  }
  callers_.remove_if([](const Caller& caller) { return caller.hasEnded(); });
}

void Server::serve(Caller& caller, bool hasEvent) {
  try {
    if (hasEvent) {
      caller.serve();
    }
    if (const Offer* device = caller.offer()) {
      answerOffer(caller, *device);
    }
    caller.expectInTime();
  } catch (const ulx::Exception& e) {
    printRefusal(caller.address(), failureLine(e));
    caller.dismiss();
  }
}

void Server::answerOffer(Caller& caller, const Offer& device) {
  const std::string name = device.busId + " " + kindOf(device);
  log_.debug(caller.address() + ": offers " + name);
  try {
    attach(caller, device);
  } catch (const NotTaken& e) {
    caller.answerOffer(e.verdict);
    throw ulx::StrException(name + ": " + e.message);
  } catch (const ulx::ErrnoException& e) {
    throw ulx::StrException(name + ": " + failureLine(e));
  }
}

// From the verdict on the connection is the kernel's: the worker hands over its end when it has read it.
void Server::attach(Caller& caller, const Offer& device) {
  const std::vector<VirtualPort> ports = freePortsFor(device.speed);
  const std::string name = device.busId + " of " + caller.address() + " " + kindOf(device);
  caller.answerOffer(Verdict::welcome);
  const unsigned port = usbip::attach(device, caller.fd(), ports);
  devices_.add({.name = name, .port = port, .socket = caller.handOver()});
}

void Server::acceptCaller() {
  std::optional<Connection> connection;
  try {
    connection = listener_.accept();
  } catch (const ulx::ErrnoException& e) {
    log_.error(failureLine(e));
    acceptAgain_ = Caller::Clock::now() + restAfterFailedAccept;
  }
  if (connection) {
    admit(std::move(*connection));
  }
}

void Server::admit(Connection connection) {
  const PeerAddress peer = connection.peer;
  try {
    if (callers_.size() >= callersAtOnce) {
      throw ulx::StrException(ulx::formatString("%zu others are being talked to", callersAtOnce));
    }
    prepareLink(connection.socket->fd());
    const Challenge challenge = admission_.keys ? freshChallenge() : Challenge{};
    callers_.emplace_back(std::move(connection), Conversation(admission_, peer.isLocal, challenge));
    log_.debug(peer.text + ": has called");
  } catch (const ulx::Exception& e) {
    printRefusal(peer.text, failureLine(e));
  }
}

void Server::printRefusal(const std::string& address, const std::string& why) const {
  log_.print(address + ": refused: " + why);
}

}  // namespace usbip
