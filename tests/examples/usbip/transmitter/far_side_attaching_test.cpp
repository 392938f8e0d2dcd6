// What the far side does with a device that is welcome: on made-up hubs, with a scripted worker.

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include "examples/usbip/transmitter/far_side.h"
#include "examples/usbip/transmitter/far_side_world.h"
#include "examples/usbip/transmitter/scripted_worker.h"

namespace {

using examples::FarSide;
using examples::freePort;
using examples::ScriptedWorker;
using examples::usedPort;
using usbip::Speed;
using usbip::Verdict;

// A request to attach a device: "port sockfd devid speed".
struct Request {
  unsigned port = 0;
  int socket = -1;
  unsigned devId = 0;
  unsigned speed = 0;
};

Request requestIn(const std::string& text) {
  std::istringstream words(text);
  Request request;
  words >> request.port >> request.socket >> request.devId >> request.speed;
  EXPECT_TRUE(words && words.peek() == std::istringstream::traits_type::eof()) << text;
  return request;
}

int optionOf(const sim::Descriptor& socket, int level, int option) {
  int value = 0;
  socklen_t size = sizeof value;
  EXPECT_EQ(::getsockopt(socket.get(), level, option, &value, &size), 0);
  return value;
}

class FarSideAttaching : public examples::FarSideWorld {
 protected:
  FarSideAttaching() { farSide.waitUntilListening(); }

  FarSide farSide;
};

TEST_F(FarSideAttaching, HandsTheConnectionToTheKernelAtTheFirstFreePort) {
  ScriptedWorker worker;
  worker.bringDevice();
  const Request request = requestIn(hubs.waitForAttach());
  EXPECT_EQ(request.port, 0U);
  EXPECT_EQ(request.devId, 0x10002U);
  EXPECT_EQ(request.speed, 3U);
  EXPECT_EQ(farSide.nextLine(), "1-2 of 127.0.0.1 (0627:0001, high speed) is attached at port 0");
  const sim::Descriptor kernel = farSide.shareFile(request.socket);
  ASSERT_EQ(::send(kernel.get(), "submit", 6, 0), 6);
  EXPECT_EQ(worker.hear(6), examples::Bytes({'s', 'u', 'b', 'm', 'i', 't'}));
}

TEST_F(FarSideAttaching, LeavesToTheKernelWhateverComesBehindTheOffer) {
  ScriptedWorker worker;
  const usbip::GreetingBytes greeting = usbip::encode(usbip::Greeting{});
  const usbip::OfferBytes offer = usbip::encode(examples::offeredDevice());
  worker.say(std::string(greeting.begin(), greeting.end()) + std::string(offer.begin(), offer.end()) +
             "reply");
  const Request request = requestIn(hubs.waitForAttach());
  std::array<char, 16> kernelsBytes{};
  ASSERT_EQ(::recv(farSide.shareFile(request.socket).get(), kernelsBytes.data(), kernelsBytes.size(), 0), 5);
  EXPECT_STREQ(kernelsBytes.data(), "reply");
}

TEST_F(FarSideAttaching, NeverReadsWhatComesForTheKernelLater) {
  ScriptedWorker first;
  first.bringDevice();
  const Request request = requestIn(hubs.waitForAttach());
  first.say("reply");
  ScriptedWorker second;  // when it is answered the far side has been awake
  second.bringDevice();
  std::array<char, 16> kernelsBytes{};
  ASSERT_EQ(::recv(farSide.shareFile(request.socket).get(), kernelsBytes.data(), kernelsBytes.size(), 0), 5);
  EXPECT_STREQ(kernelsBytes.data(), "reply");
}

TEST_F(FarSideAttaching, WatchesTheConnectionForSilence) {
  ScriptedWorker worker;
  worker.bringDevice();
  const sim::Descriptor kernel = farSide.shareFile(requestIn(hubs.waitForAttach()).socket);
  EXPECT_EQ(optionOf(kernel, SOL_SOCKET, SO_KEEPALIVE), 1);
  EXPECT_EQ(optionOf(kernel, IPPROTO_TCP, TCP_NODELAY), 1);
  EXPECT_EQ(optionOf(kernel, IPPROTO_TCP, TCP_USER_TIMEOUT), 10'000);
}

TEST_F(FarSideAttaching, TakesEachSpeedToItsHub) {
  const std::vector<std::pair<Speed, unsigned>> speeds{
      {Speed::low, 0}, {Speed::full, 0}, {Speed::high, 0}, {Speed::super, 8}};
  for (const auto& [speed, port] : speeds) {
    ScriptedWorker worker;
    worker.bringDevice(speed);
    const Request request = requestIn(hubs.waitForAttach());
    EXPECT_EQ(request.port, port);
    EXPECT_EQ(request.speed, static_cast<unsigned>(speed));
  }
}

TEST_F(FarSideAttaching, TakesTheFirstPortThatIsFreeAtThatMoment) {
  examples::MadeUpHubs::writeStatus(usedPort("hs", 0, "5-1") + freePort("ss", 8) + freePort("hs", 1));
  ScriptedWorker worker;
  worker.bringDevice();
  EXPECT_EQ(requestIn(hubs.waitForAttach()).port, 1U);
  EXPECT_EQ(farSide.nextLine(), "1-2 of 127.0.0.1 (0627:0001, high speed) is attached at port 1");
}

TEST_F(FarSideAttaching, TakesDevicesOverIpv6) {
  ScriptedWorker worker("::1");
  worker.bringDevice();
  EXPECT_EQ(farSide.nextLine(), "1-2 of ::1 (0627:0001, high speed) is attached at port 0");
}

TEST_F(FarSideAttaching, LogsWhenADeviceHasGoneAndLetsItsConnectionGo) {
  const auto before = farSide.openDescriptors();
  ScriptedWorker worker;
  worker.bringDevice();
  farSide.nextLine();
  worker.leave();
  EXPECT_EQ(farSide.nextLine(), "1-2 of 127.0.0.1 (0627:0001, high speed) has gone");
  farSide.waitForDescriptors(before);
}

TEST_F(FarSideAttaching, LogsWhenTheKernelEndsTheConnection) {
  ScriptedWorker worker;
  worker.bringDevice();
  const Request request = requestIn(hubs.waitForAttach());
  farSide.nextLine();
  ASSERT_EQ(::shutdown(farSide.shareFile(request.socket).get(), SHUT_RDWR), 0);
  EXPECT_EQ(farSide.nextLine(), "1-2 of 127.0.0.1 (0627:0001, high speed) has gone");
  worker.hearTheEnd();
}

TEST_F(FarSideAttaching, TakesTheConnectionBackWhenTheKernelRefusesTheDevice) {
  examples::MadeUpHubs::refuseDevices();
  ScriptedWorker worker;
  worker.bringDevice();
  EXPECT_EQ(farSide.nextLine(),
            "127.0.0.1: refused: 1-2 (0627:0001, high speed): No space left on device while "
            "write(\"/sys/devices/platform/vhci_hcd.0/attach\")");
  worker.hearTheEnd();
}

TEST_F(FarSideAttaching, SaysThatItCannotAttachWhenTheDriverHasGone) {
  examples::MadeUpHubs::unload();
  ScriptedWorker worker;
  worker.greet();
  worker.hearGreeting();
  EXPECT_EQ(worker.offer(), Verdict::notAttached);
  EXPECT_EQ(farSide.nextLine(),
            "127.0.0.1: refused: 1-2 (0627:0001, high speed): the driver vhci_hcd is not loaded: modprobe "
            "vhci-hcd");
  worker.hearTheEnd();
}

}  // namespace
