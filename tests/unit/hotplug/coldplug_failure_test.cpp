// What ends coldplug, and what does not.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "hotplug/coldplug.h"
#include "sim/files.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "unit/hotplug/coldplug_world.h"

namespace {

const std::string keyboard = "/sys/devices/platform/usb-host.0/usb1/1-2";
const std::string keyboardsBegin = "[rx_ctrl] coldplugging keyboards";

// What is thrown is for `expectation`, which makes the call; what was said before that comes back.
template <class Expectation>
Lines saidUntilThrown(ColdplugWorld& world, std::uint32_t classes, Expectation expectation) {
  world.ctrl->classes = classes;
  settings.debugCtrl = true;
  return support::saidDuring([&] { expectation([&world] { coldplug(*world.ctrl); }); });
}

TEST(ColdplugFailure, OfOneDeviceIsNotThatOfTheOthers) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.sysfs.add(sim::UsbDevice{.name = "1-1"});
    world.sysfs.makeLink("/sys/bus/usb/devices/1-5", "../../../devices/none");
    world.sysfs.add(sim::UsbDevice{.name = "1-6", .descriptors = "short"});
    world.sysfs.add(sim::UsbDevice{.name = "1-7"});
    const Lines said = world.saidOfColdplug(0);
    EXPECT_EQ(std::count(said.begin(), said.end(), "[rx_ctrl] Exception while processing uevent; ignored."),
              1);
    EXPECT_TRUE(world.ctrl->workers.byPath.contains("/sys/devices/platform/usb-host.0/usb1/1-1"));
    EXPECT_TRUE(world.ctrl->workers.byPath.contains("/sys/devices/platform/usb-host.0/usb1/1-7"));
  });
}

TEST(ColdplugFailure, OfAKeyboardsWorkerIsNotThatOfTheDisks) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string node = world.plugKeyboard();
    world.sysfs.removeAttribute(node, "dev");
    const std::string disk = world.plugDisk();
    world.sysfs.makeDirectory("/sys/class/scsi_generic");
    world.sysfs.makeLink("/sys/class/scsi_generic/sg1", "../../devices/none");
    world.ctrl->classes = allClasses;
    coldplug(*world.ctrl);
    EXPECT_EQ(world.ctrl->workers.byPath.size(), 1U);
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(disk));
  });
}

TEST(ColdplugFailure, WithoutTheDirectoryOfUsbDevicesEndsItAll) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.plugKeyboard();
    world.plugDisk();
    std::filesystem::remove_all("/sys/bus/usb/devices");
    EXPECT_EQ(saidUntilThrown(world, allClasses,
                              [](auto call) {
                                EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(call),
                                          "opendir(/sys/bus/usb/devices)");
                              }),
              Lines{});
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
  });
}

class ColdplugOfAFile : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Classes, ColdplugOfAFile, testing::Values("usb", "scsi_generic"));

TEST_P(ColdplugOfAFile, InPlaceOfAClassEndsIt) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string path = "/sys/class/" + GetParam();
    sim::writeFile(path, "");
    world.ctrl->classes = allClasses;
    EXPECT_EQ(support::contextThrownBy([&world] { coldplug(*world.ctrl); }), "opendir(" + path + ")");
  });
}

TEST(ColdplugFailure, InAClassThatCannotBeLookedForEndsIt) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.sysfs.makeLink("/sys/class/usb", "usb");
    world.ctrl->classes = keyboardClass;
    EXPECT_EQ(support::contextThrownBy([&world] { coldplug(*world.ctrl); }), "stat(/sys/class/usb)");
  });
}

/** A keyboard's node that cannot be judged, and a disk that would come behind it. */
class UnreadableKeyboard : public testing::Test {
 protected:
  // Changes the keyboard, and lets `expectation` make the call that throws.
  template <class Expectation>
  static void afterChange(const std::function<void(ColdplugWorld&)>& change, Expectation expectation) {
    inColdplugWorld([&](ColdplugWorld& world) {
      world.plugKeyboard();
      world.plugDisk();
      change(world);
      const Lines said = saidUntilThrown(world, allClasses, expectation);
      ASSERT_FALSE(said.empty());
      EXPECT_EQ(said.back(), keyboardsBegin);
      EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    });
  }
};

TEST_F(UnreadableKeyboard, WithoutDescriptorsEndsColdplug) {
  afterChange([](ColdplugWorld& world) { world.sysfs.removeAttribute(keyboard, "descriptors"); },
              [](auto call) {
                EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(call),
                          "open(\"/sys/class/usb/hiddev0/device/../descriptors\")");
              });
}

TEST_F(UnreadableKeyboard, WithShortDescriptorsEndsColdplug) {
  for (const std::size_t length : {0U, 17U}) {
    afterChange(
        [length](ColdplugWorld& world) {
          world.sysfs.writeAttribute(keyboard, "descriptors", sim::keyboardDescriptors().substr(0, length));
        },
        [](auto call) { EXPECT_THROW(call(), ulx::FileDescriptor::EndOfFile); });
  }
}

TEST_F(UnreadableKeyboard, WithOtherDescriptorsEndsColdplug) {
  afterChange(
      [](ColdplugWorld& world) {
        std::string descriptors = sim::keyboardDescriptors();
        descriptors[1] = 2;
        world.sysfs.writeAttribute(keyboard, "descriptors", descriptors);
      },
      [](auto call) {
        try {
          call();
          ADD_FAILURE() << "nothing was thrown";
        } catch (const char* text) {
          EXPECT_STREQ(text, "Not a device descriptor");
        }
      });
}

TEST_F(UnreadableKeyboard, WithoutASubclassEndsColdplug) {
  afterChange(
      [](ColdplugWorld& world) { world.sysfs.removeAttribute(keyboard + "/1-2:1.0", "bInterfaceSubClass"); },
      [](auto call) {
        EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(call),
                  "open(\"/sys/class/usb/hiddev0/device/bInterfaceSubClass\")");
      });
}

TEST(ColdplugFailure, DoesNotComeOfTheSubclassOfAMouse) {
  inColdplugWorld([](ColdplugWorld& world) {
    sim::UsbDevice mouse;
    mouse.descriptors = sim::mouseDescriptors();
    const std::string device = world.sysfs.add(mouse);
    world.sysfs.add(sim::HiddevNode{.usbDevice = device});
    world.sysfs.removeAttribute(device + "/1-1:1.0", "bInterfaceSubClass");
    EXPECT_EQ(world.passesOfColdplug(keyboardClass).back(), keyboardsBegin);
  });
}

}  // namespace
