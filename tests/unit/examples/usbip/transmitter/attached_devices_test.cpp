#include "examples/usbip/transmitter/attached_devices.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "sim/descriptor.h"
#include "sim/files.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/thrown.h"
#include "unit/examples/usbip/transmitter/library_calls.h"
#include "unit/examples/usbip/transmitter/made_up_hubs.h"

namespace {

using support::Lines;

class AttachedDevicesTest : public support::PrivateWorld {
 protected:
  AttachedDevicesTest() { sim::writeFile(hubs::directory + "detach", ""); }

  // Adds a device; returns the other end of its connection.
  sim::Descriptor add(const std::string& name, unsigned port) {
    std::array<int, 2> sockets{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()), 0);
    devices.add(
        {.name = name, .port = port, .socket = std::make_unique<ulx::FileDescriptor>(sockets[0], true)});
    return sim::Descriptor(sockets[1]);
  }

  void forgetGone() {
    usbip::PollSet descriptors;
    devices.watch(descriptors);
    descriptors.wait(0);
    devices.forgetGone(descriptors);
  }

  const support::CapturedStandardError output;
  const usbip::Log log{"tx", usbip::LogDestination::standardError, false};
  usbip::AttachedDevices devices{log};
};

TEST_F(AttachedDevicesTest, AreLoggedWhenTheyComeAndGo) {
  const sim::Descriptor stays = add("one", 0);
  sim::Descriptor goes = add("other", 8);
  EXPECT_EQ(output.writes(), (Lines{"tx: one is attached at port 0\n", "tx: other is attached at port 8\n"}));
  goes.close();
  forgetGone();
  EXPECT_EQ(output.writes(), Lines{"tx: other has gone\n"});
  forgetGone();
  EXPECT_EQ(output.writes(), Lines());
}

TEST_F(AttachedDevicesTest, AreNotDisturbedByWhatArrivesForTheKernel) {
  const sim::Descriptor device = add("one", 0);
  ASSERT_EQ(::write(device.get(), "x", 1), 1);
  forgetGone();
  EXPECT_EQ(output.writes(), Lines{"tx: one is attached at port 0\n"});
}

TEST_F(AttachedDevicesTest, LeaveNoDescriptorWhenTheyHaveGone) {
  const int next = support::nextDescriptor();
  { const sim::Descriptor device = add("one", 0); }
  forgetGone();
  EXPECT_EQ(support::nextDescriptor(), next);
}

TEST_F(AttachedDevicesTest, AreDetachedAtTheirPorts) {
  hubs::writeStatus(hubs::freeRows);
  const sim::Descriptor one = add("one", 1);
  const sim::Descriptor other = add("other", 8);
  std::vector<std::string> written;
  const support::Replaced recording(library::write,
                                    [&written](int fd, const void* buffer, std::size_t length) {
                                      if (fd != STDERR_FILENO) {
                                        written.emplace_back(static_cast<const char*>(buffer), length);
                                      }
                                      return library::write.real(fd, buffer, length);
                                    });
  devices.detachAll();
  EXPECT_EQ(written, (std::vector<std::string>{"1", "8"}));
}

TEST_F(AttachedDevicesTest, AreNotDetachedWhenTheyHaveGoneByThemselves) {
  hubs::writeStatus(hubs::freeRows);
  { const sim::Descriptor device = add("one", 1); }
  devices.detachAll();
  EXPECT_EQ(sim::readFile(hubs::directory + "detach"), "");
}

TEST_F(AttachedDevicesTest, NeedNoDriverToBeDetachedWhenThereAreNone) {
  EXPECT_NO_THROW(devices.detachAll());
}

TEST_F(AttachedDevicesTest, AreAllDetachedThoughOneCannotBe) {
  hubs::writeStatus(hubs::freeRows);
  const sim::Descriptor one = add("one", 0);
  const sim::Descriptor other = add("other", 1);
  static_cast<void>(output.writes());
  const support::Replaced refusing(library::write, [](int fd, const void* buffer, std::size_t length) {
    if (fd != STDERR_FILENO && std::string(static_cast<const char*>(buffer), length) == "0") {
      errno = EINVAL;
      return ssize_t{-1};
    }
    return library::write.real(fd, buffer, length);
  });
  devices.detachAll();
  EXPECT_EQ(sim::readFile(hubs::directory + "detach"), "1");
  EXPECT_EQ(output.writes(),
            Lines{"tx: one: Invalid argument while write(\"" + hubs::directory + "detach\")\n"});
}

TEST_F(AttachedDevicesTest, AreNotWaitedForLongerThanFiveSeconds) {
  hubs::writeStatus("hs  0000 006 003 00010002 000003 5-1\nhs  0001 004 000 00000000 000000 0-0\n");
  const sim::Descriptor device = add("one", 0);
  EXPECT_EQ(support::caught<ulx::StrException>([this] { devices.detachAll(); }).message,
            "the kernel has not detached all that was attached");
}

}  // namespace
