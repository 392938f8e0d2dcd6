#include "examples/usbip/transmitter/virtual_ports.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <vector>

#include "sim/files.h"
#include "support/child.h"
#include "support/private_world.h"
#include "support/thrown.h"
#include "unit/examples/usbip/transmitter/library_calls.h"
#include "unit/examples/usbip/transmitter/made_up_hubs.h"
#include "unit/examples/usbip/transmitter/made_up_worker.h"

namespace {

using usbip::Hub;
using usbip::Speed;
using usbip::VirtualPort;
using State = usbip::VirtualPort::State;

constexpr const char* notLoaded = "the driver vhci_hcd is not loaded: modprobe vhci-hcd";
const std::string attachFile = hubs::directory + "attach";

std::vector<unsigned> numbersOf(const std::vector<VirtualPort>& ports) {
  std::vector<unsigned> numbers;
  numbers.reserve(ports.size());
  for (const VirtualPort& port : ports) {
    numbers.push_back(port.number);
  }
  return numbers;
}

std::vector<VirtualPort> freePorts() {
  return usbip::freePortsOf(Hub::highSpeed, usbip::readPorts());
}

TEST(VirtualPortsStatus, ShowsEachPort) {
  const auto ports = usbip::parsePorts(hubs::headline +
                                       "hs  0000 006 003 00010002 000003 5-1\n"
                                       "hs  0001 005 000 00000000 000000 0-0\n"
                                       "ss  0010 004 000 00000000 000000 0-0\n"
                                       "ss  0011 007 000 00000000 000000 0-0\n");
  ASSERT_EQ(numbersOf(ports), (std::vector<unsigned>{0, 1, 10, 11}));
  EXPECT_EQ(ports[0].hub, Hub::highSpeed);
  EXPECT_EQ(ports[0].state, State::used);
  EXPECT_EQ(ports[0].speed, 3U);
  EXPECT_EQ(ports[0].localBusId, "5-1");
  EXPECT_EQ(ports[1].state, State::notAddressed);
  EXPECT_EQ(ports[2].hub, Hub::superSpeed);
  EXPECT_EQ(ports[2].state, State::free);
  EXPECT_EQ(ports[3].state, State::failed);
}

TEST(VirtualPortsStatus, MayHaveLinesThatShowNone) {
  EXPECT_EQ(numbersOf(usbip::parsePorts("\nhs\nhs  0000\nhs  0000 004 000 00000000 000000\n"
                                        "xs  0000 004 000 00000000 000000 0-0\n"
                                        "hs  00x0 004 000 00000000 000000 0-0\n"
                                        "hs  99999999999 004 000 00000000 000000 0-0\n"
                                        "hs  0000 004 000 00000000 000000 0-0 more\n"
                                        "hs  0007 004 000 00000000 000000 0-0")),
            std::vector<unsigned>{7});
}

TEST(VirtualPortsHub, TakesTheSpeedsThatItIsFor) {
  EXPECT_EQ(usbip::hubFor(Speed::low), Hub::highSpeed);
  EXPECT_EQ(usbip::hubFor(Speed::full), Hub::highSpeed);
  EXPECT_EQ(usbip::hubFor(Speed::high), Hub::highSpeed);
  EXPECT_EQ(usbip::hubFor(Speed::super), Hub::superSpeed);
  EXPECT_EQ(usbip::hubFor(Speed::superPlus), std::nullopt);
}

TEST(VirtualPortsHub, HasFreePortsWhoseStateSaysSo) {
  const auto ports = usbip::parsePorts(
      "hs  0000 006 003 00010002 000003 5-1\n"
      "hs  0001 005 000 00000000 000000 0-0\n"
      "hs  0002 007 000 00000000 000000 0-0\n"
      "hs  0003 004 000 00000000 000000 0-0\n"
      "hs  0004 004 000 00000000 000000 0-0\n"
      "ss  0008 004 000 00000000 000000 0-0\n");
  EXPECT_EQ(numbersOf(usbip::freePortsOf(Hub::highSpeed, ports)), (std::vector<unsigned>{3, 4}));
  EXPECT_EQ(numbersOf(usbip::freePortsOf(Hub::superSpeed, ports)), std::vector<unsigned>{8});
}

using VirtualPorts = support::PrivateWorld;

TEST_F(VirtualPorts, AreThoseOfAllControllers) {
  hubs::writeStatus("hs  0000 004 000 00000000 000000 0-0\n");
  hubs::writeStatus("ss  0024 004 000 00000000 000000 0-0\n", "status.1");
  hubs::writeStatus("hs  0032 004 000 00000000 000000 0-0\n", "status.2");
  hubs::writeStatus("hs  0099 004 000 00000000 000000 0-0\n", "status.4");
  EXPECT_EQ(numbersOf(usbip::readPorts()), (std::vector<unsigned>{0, 24, 32}));
}

TEST_F(VirtualPorts, AreNotThereWithoutTheDriver) {
  EXPECT_EQ(support::caught<ulx::StrException>([] { static_cast<void>(usbip::readPorts()); }).message,
            notLoaded);
  EXPECT_EQ(support::caught<ulx::StrException>([] { usbip::expectAttachable(); }).message, notLoaded);
}

TEST_F(VirtualPorts, AreAttachableForWhoMayWriteThere) {
  hubs::writeStatus(hubs::freeRows);
  sim::writeFile(attachFile, "");
  EXPECT_NO_THROW(usbip::expectAttachable());
  support::inChild([] {
    ASSERT_EQ(::chmod(attachFile.c_str(), 0400), 0);
    support::dropPrivileges();
    EXPECT_EQ(support::contextThrownBy([] { usbip::expectAttachable(); }), "open(\"" + attachFile + "\")");
  });
  EXPECT_EQ(sim::readFile(attachFile), "");
}

TEST_F(VirtualPorts, AttachesAtTheFirstFreePort) {
  hubs::writeStatus(hubs::freeRows);
  sim::writeFile(attachFile, "");
  EXPECT_EQ(usbip::attach(worker::offer(Speed::full), 17, freePorts()), 0U);
  EXPECT_EQ(sim::readFile(attachFile), "0 17 65538 2");
}

TEST_F(VirtualPorts, AttachesAtTheNextWhereAnotherProgramHasTakenAPortMeanwhile) {
  hubs::writeStatus(hubs::freeRows);
  sim::writeFile(attachFile, "");
  std::vector<std::string> refused;
  const support::Replaced busyOnce(library::write,
                                   [&refused](int fd, const void* buffer, std::size_t length) {
                                     if (!refused.empty()) {
                                       return library::write.real(fd, buffer, length);
                                     }
                                     refused.emplace_back(static_cast<const char*>(buffer), length);
                                     errno = EBUSY;
                                     return ssize_t{-1};
                                   });
  EXPECT_EQ(usbip::attach(worker::offer(), 17, freePorts()), 1U);
  EXPECT_EQ(refused, std::vector<std::string>{"0 17 65538 3"});
  EXPECT_EQ(sim::readFile(attachFile), "1 17 65538 3");
}

TEST_F(VirtualPorts, AttachesNowhereWhenOtherProgramsHaveTakenAll) {
  hubs::writeStatus(hubs::freeRows);
  sim::writeFile(attachFile, "");
  int attempts = 0;
  const support::Replaced busy(library::write, [&attempts](int, const void*, std::size_t) {
    ++attempts;
    errno = EBUSY;
    return ssize_t{-1};
  });
  EXPECT_EQ(support::contextThrownBy<ulx::DeviceOrResourceBusy>(
                [] { static_cast<void>(usbip::attach(worker::offer(), 17, freePorts())); }),
            "write(\"" + attachFile + "\")");
  EXPECT_EQ(attempts, 2);
}

TEST_F(VirtualPorts, DoesNotTryAgainWhenTheKernelRefusesTheDevice) {
  hubs::writeStatus(hubs::freeRows);
  sim::writeFile(attachFile, "");
  int attempts = 0;
  const support::Replaced refusing(library::write, [&attempts](int, const void*, std::size_t) {
    ++attempts;
    errno = EINVAL;
    return ssize_t{-1};
  });
  EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>(
                [] { static_cast<void>(usbip::attach(worker::offer(), 17, freePorts())); }),
            "write(\"" + attachFile + "\")");
  EXPECT_EQ(attempts, 1);
}

TEST_F(VirtualPorts, DetachesByNumber) {
  sim::writeFile(hubs::directory + "detach", "");
  usbip::detach(12);
  EXPECT_EQ(sim::readFile(hubs::directory + "detach"), "12");
}

}  // namespace
