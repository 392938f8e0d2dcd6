#include "examples/usbip/receiver/scripted_transmitter.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>

#include "sim/error.h"
#include "sim/wait.h"

namespace examples {
namespace {

sim::Descriptor boundSocket() {
  sim::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw sim::systemError("bind()");
  }
  return socket;
}

std::string portOf(int socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
  return std::to_string(ntohs(address.sin_port));
}

}  // namespace

ScriptedTransmitter::ScriptedTransmitter() : listener_(boundSocket()), port_(portOf(listener_.get())) {}

void ScriptedTransmitter::listen() const {
  if (::listen(listener_.get(), 8) != 0) {
    throw sim::systemError("listen()");
  }
}

void ScriptedTransmitter::accept(const sim::Deadline& deadline) {
  if (!sim::waitReadable(listener_.get(), deadline)) {
    throw sim::TimedOut("a worker's connection");
  }
  worker_ = sim::Descriptor(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

void ScriptedTransmitter::say(std::span<const std::uint8_t> bytes) const {
  if (::send(worker_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
    throw sim::systemError("send() to the worker");
  }
}

void ScriptedTransmitter::say(usbip::Verdict verdict) const {
  say(std::vector{static_cast<std::uint8_t>(verdict)});
}

std::vector<std::uint8_t> ScriptedTransmitter::hear(std::size_t size) const {
  std::vector<std::uint8_t> heard(size);
  for (std::size_t count = 0; count < size;) {
    if (!sim::waitReadable(worker_.get(), {})) {
      throw sim::TimedOut("what the worker says");
    }
    const ssize_t more = ::recv(worker_.get(), heard.data() + count, size - count, 0);
    if (more <= 0) {
      throw sim::Error("the worker has closed the connection");
    }
    count += static_cast<std::size_t>(more);
  }
  return heard;
}

usbip::Greeting ScriptedTransmitter::greet(const usbip::Greeting& answer) {
  std::ranges::copy(hear(workers_.size()), workers_.begin());
  own_ = encode(answer);
  say(own_);
  return usbip::decode(workers_);
}

void ScriptedTransmitter::prove(const usbip::Keys& keys) {
  const usbip::Proof expected = workersProof(keys, workers_, own_);
  if (!std::ranges::equal(hear(expected.size()), expected)) {
    say(usbip::Verdict::wrongProof);
    return;
  }
  say(usbip::Verdict::welcome);
  say(farSidesProof(keys, workers_, own_));
}

usbip::Offer ScriptedTransmitter::hearOffer() const {
  usbip::OfferBytes bytes{};
  std::ranges::copy(hear(bytes.size()), bytes.begin());
  return usbip::decode(bytes);
}

usbip::Offer ScriptedTransmitter::welcomeDevice() {
  accept();
  greet();
  usbip::Offer offer = hearOffer();
  sim::serveBackground();
  say(usbip::Verdict::welcome);
  return offer;
}

}  // namespace examples
