#include "examples/usbip/transmitter/scripted_worker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>

#include "examples/usbip/transmitter/far_side.h"
#include "sim/error.h"
#include "sim/wait.h"

namespace examples {
namespace {

std::uint16_t portNumber() {
  return htons(static_cast<std::uint16_t>(std::strtoul(farSidePort, nullptr, 10)));
}

template <class Address>
sim::Descriptor connectTo(int family, const Address& address, const std::string& text) {
  sim::Descriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw sim::systemError("connecting to " + text);
  }
  return socket;
}

sim::Descriptor connectTo(const std::string& text) {
  sockaddr_in ipv4{};
  ipv4.sin_family = AF_INET;
  ipv4.sin_port = portNumber();
  if (::inet_pton(AF_INET, text.c_str(), &ipv4.sin_addr) == 1) {
    return connectTo(AF_INET, ipv4, text);
  }
  sockaddr_in6 ipv6{};
  ipv6.sin6_family = AF_INET6;
  ipv6.sin6_port = portNumber();
  if (::inet_pton(AF_INET6, text.c_str(), &ipv6.sin6_addr) != 1) {
    throw sim::Error(text + " is no address");
  }
  return connectTo(AF_INET6, ipv6, text);
}

}  // namespace

usbip::Offer offeredDevice(usbip::Speed speed) {
  usbip::Offer offer{.busId = "1-2", .devId = 0x10002, .speed = speed};
  offer.descriptor = {18, 1, 0, 2, 0, 0, 0, 64, 0x27, 0x06, 0x01, 0x00, 0, 0, 1, 2, 3, 1};
  return offer;
}

ScriptedWorker::ScriptedWorker(const std::string& address) : socket_(connectTo(address)) {}

void ScriptedWorker::say(std::span<const std::uint8_t> bytes) const {
  if (::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
    throw sim::systemError("saying something to the far side");
  }
}

void ScriptedWorker::say(const std::string& text) const {
  say(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void ScriptedWorker::leaveRudely() {
  const linger atOnce{.l_onoff = 1, .l_linger = 0};
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  leave();
}

Bytes ScriptedWorker::hear(std::size_t size, const sim::Deadline& deadline) const {
  Bytes bytes(size);
  for (std::size_t heard = 0; heard < size;) {
    if (!sim::waitReadable(socket_.get(), deadline)) {
      throw sim::TimedOut("an answer of the far side");
    }
    const ssize_t count = ::recv(socket_.get(), bytes.data() + heard, size - heard, 0);
    if (count <= 0) {
      throw count == 0 ? sim::Error("the far side has ended the connection") : sim::systemError("hearing");
    }
    heard += static_cast<std::size_t>(count);
  }
  return bytes;
}

usbip::Verdict ScriptedWorker::hearVerdict() const {
  return static_cast<usbip::Verdict>(hear(1).front());
}

usbip::Greeting ScriptedWorker::hearGreeting() {
  const Bytes bytes = hear(usbip::greetingSize);
  std::copy(bytes.begin(), bytes.end(), farSidesGreeting_.begin());
  return usbip::decode(farSidesGreeting_);
}

void ScriptedWorker::hearTheEnd(const sim::Deadline& deadline) const {
  if (hearNothingMore(deadline) != 0) {
    throw sim::systemError("hearing the end of the connection");
  }
}

void ScriptedWorker::hearTheEndOrAReset(const sim::Deadline& deadline) const {
  static_cast<void>(hearNothingMore(deadline));
}

ssize_t ScriptedWorker::hearNothingMore(const sim::Deadline& deadline) const {
  if (!sim::waitReadable(socket_.get(), deadline)) {
    throw sim::TimedOut("the end of the connection");
  }
  std::uint8_t byte = 0;
  const ssize_t heard = ::recv(socket_.get(), &byte, 1, 0);
  if (heard > 0) {
    throw sim::Error("the far side says more than it should");
  }
  return heard;
}

bool ScriptedWorker::waitToHear(const sim::Deadline& deadline) const {
  return sim::waitReadable(socket_.get(), deadline);
}

void ScriptedWorker::greet(bool hasKeys) {
  usbip::Greeting greeting{.hasKeys = hasKeys};
  if (hasKeys) {
    greeting.challenge = usbip::freshChallenge();
  }
  ownGreeting_ = usbip::encode(greeting);
  say(ownGreeting_);
}

usbip::Verdict ScriptedWorker::prove(const usbip::Keys& keys) {
  say(usbip::workersProof(keys, ownGreeting_, farSidesGreeting_));
  const usbip::Verdict verdict = hearVerdict();
  if (verdict == usbip::Verdict::welcome) {
    const usbip::Proof expected = usbip::farSidesProof(keys, ownGreeting_, farSidesGreeting_);
    if (hear(expected.size()) != Bytes(expected.begin(), expected.end())) {
      throw sim::Error("the far side's proof is wrong");
    }
  }
  return verdict;
}

usbip::Verdict ScriptedWorker::offer(usbip::Speed speed) const {
  say(usbip::encode(offeredDevice(speed)));
  return hearVerdict();
}

void ScriptedWorker::bringDevice(usbip::Speed speed) {
  greet();
  if (hearGreeting().verdict != usbip::Verdict::welcome || offer(speed) != usbip::Verdict::welcome) {
    throw sim::Error("the far side does not take the device");
  }
}

}  // namespace examples
