// Devices that are plugged in before the daemon starts.

#include "hotplug/coldplug.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "hotplug/classification.h"
#include "unit/hotplug/coldplug_world.h"

namespace {

const std::string usbDevices = "/sys/bus/usb/devices";
const std::string keyboardsBegin = "[rx_ctrl] coldplugging keyboards";
const std::string storageBegins = "[rx_ctrl] colplugging storage devices";

Lines operator+(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

std::set<std::string> devicesWithWorkers(const RxCtrl& ctrl) {
  std::set<std::string> devices;
  for (const auto& [path, pid] : ctrl.workers.byPath) {
    devices.insert(path);
  }
  return devices;
}

TEST(MadeUpEvent, HasAnActionAndThePathWithoutTheMountPoint) {
  EXPECT_EQ(addEventOf("/sys/bus/usb/devices/1-1"),
            (UEvent{{"ACTION", "add"}, {"DEVPATH", "/bus/usb/devices/1-1"}}));
}

struct MaskCase {
  std::uint32_t classes;
  bool keyboards;
  bool storage;
};

std::ostream& operator<<(std::ostream& out, const MaskCase& mask) {
  return out << mask.classes;
}

class ColdplugPasses : public testing::TestWithParam<MaskCase> {};

INSTANTIATE_TEST_SUITE_P(Masks, ColdplugPasses,
                         testing::Values(MaskCase{0, false, false}, MaskCase{1, true, false},
                                         MaskCase{2, false, true}, MaskCase{3, true, true},
                                         MaskCase{252, false, false}, MaskCase{255, true, true}),
                         testing::PrintToStringParamName());

TEST_P(ColdplugPasses, AreThoseOfTheMaskInOrder) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.sysfs.add(sim::UsbDevice{});
    world.plugKeyboard();
    world.plugDisk();
    const MaskCase& mask = GetParam();
    Lines expected = offersOf(usbDevices);
    if (mask.keyboards) {
      expected = expected + Lines{keyboardsBegin} + offersOf("/sys/class/usb");
    }
    if (mask.storage) {
      expected = expected + Lines{storageBegins} + offersOf("/sys/class/scsi_generic");
    }
    EXPECT_EQ(world.passesOfColdplug(mask.classes), expected);
  });
}

TEST(Coldplug, StartsTheWorkerOfEachKind) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string generic = world.sysfs.add(sim::UsbDevice{});
    const std::string keyboard = world.plugKeyboard();
    const std::string disk = world.plugDisk();
    world.ctrl->classes = allClasses;
    coldplug(*world.ctrl);
    EXPECT_EQ(devicesWithWorkers(*world.ctrl), (std::set<std::string>{generic, keyboard, disk}));
    std::vector<std::string> programs;
    programs.reserve(3);
    for (int i = 0; i < 3; ++i) {
      programs.push_back(world.board.waitForWorker().program());
    }
    EXPECT_EQ(programs, (std::vector<std::string>{"usb_rx_generic", "usb_rx_keyboard", "usb_rx_scsi"}));
  });
}

TEST(Coldplug, LeavesEveryDeviceToTheGenericWorkerWhereNoClassIsServed) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.sysfs.add(sim::UsbDevice{});
    world.plugKeyboard();
    world.plugDisk();
    world.ctrl->classes = 0;
    coldplug(*world.ctrl);
    EXPECT_EQ(world.ctrl->workers.byPath.size(), 3U);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(world.board.waitForWorker().program(), "usb_rx_generic");
    }
  });
}

TEST(Coldplug, SaysNothingWithoutDebugging) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.plugKeyboard();
    world.plugDisk();
    world.ctrl->classes = allClasses;
    EXPECT_EQ(support::saidDuring([&world] { coldplug(*world.ctrl); }), Lines{});
    EXPECT_EQ(world.ctrl->workers.byPath.size(), 2U);
  });
}

TEST(Coldplug, OfNoDeviceSaysNothing) {
  inColdplugWorld([](ColdplugWorld& world) { EXPECT_EQ(world.saidOfColdplug(0), Lines{}); });
}

TEST(Coldplug, TakesEntriesAsTheyCome) {
  inColdplugWorld([](ColdplugWorld& world) {
    for (const char* name : {"1-4", "1-1", "1-7", "1-2", "1-9", "1-3"}) {
      world.sysfs.add(sim::UsbDevice{.name = name});
    }
    const Lines offers = offersOf(usbDevices);
    ASSERT_FALSE(std::is_sorted(offers.begin(), offers.end()));
    EXPECT_EQ(world.passesOfColdplug(0), offers);
  });
}

TEST(Coldplug, OffersInterfacesAndHubsWhichTheHandlerKnows) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string hub = world.sysfs.add(
        sim::UsbDevice{.name = "usb1", .parent = "/sys/devices/platform/usb-host.0", .deviceClass = "09"});
    EXPECT_EQ(world.saidOfColdplug(0),
              tagged({"add /bus/usb/devices/usb1", "subsystem is 'usb'", "this is a hub device"}));
    world.sysfs.removeDevice(hub);
    world.plugDisk();
    std::filesystem::remove(usbDevices + "/1-3");
    EXPECT_EQ(world.saidOfColdplug(0), tagged({"add /bus/usb/devices/1-3:1.0", "subsystem is 'usb'"}));
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
  });
}

TEST(Coldplug, ResolvesTheLinkOfADevice) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string device = world.sysfs.add(sim::UsbDevice{});
    EXPECT_EQ(world.saidOfColdplug(0),
              tagged({"add /bus/usb/devices/1-1", "subsystem is 'usb'",
                      "  no iso endpoints found, this is supported.", "this is a generic USB device",
                      "starting usb_rx_generic for " + device}));
    EXPECT_EQ(devicesWithWorkers(*world.ctrl), std::set<std::string>{device});
  });
}

TEST(Coldplug, StartsNoSecondWorkerOfADevice) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string device = world.sysfs.add(sim::UsbDevice{});
    handleUEvent(*world.ctrl, addEventOf(device), "high");
    EXPECT_EQ(world.saidOfColdplug(0),
              tagged({"add /bus/usb/devices/1-1", "a subprocess is already handling this device"}));
    EXPECT_EQ(world.ctrl->workers.byPid.size(), 1U);
  });
}

TEST(ColdplugOfKeyboards, IsSkippedWithoutTheirDirectory) {
  inColdplugWorld([](ColdplugWorld& world) { EXPECT_EQ(world.saidOfColdplug(1), Lines{}); });
}

TEST(ColdplugOfKeyboards, OfNoneSaysThatItBegins) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.sysfs.makeDirectory("/sys/class/usb");
    EXPECT_EQ(world.saidOfColdplug(1), Lines{keyboardsBegin});
  });
}

TEST(ColdplugOfKeyboards, StartsTheKeyboardWorker) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string node = world.plugKeyboard();
    const Lines said = world.saidOfColdplug(1);
    const auto begin = std::find(said.begin(), said.end(), keyboardsBegin);
    EXPECT_EQ(Lines(begin, said.end()),
              tagged({"coldplugging keyboards", "add /class/usb/hiddev0", "subsystem is 'usb'",
                      "this is HID device", "starting usb_rx_keyboard for " + node + " (180:0)"}));
    EXPECT_EQ(devicesWithWorkers(*world.ctrl), std::set<std::string>{node});
  });
}

class ColdplugOfHiddevNodes : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Subclasses, ColdplugOfHiddevNodes, testing::Values("00", "02", "10", "11", ""));

TEST_P(ColdplugOfHiddevNodes, WithoutTheBootInterfaceOffersNone) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.plugKeyboard("1-2", "hiddev0", GetParam());
    EXPECT_EQ(world.passesOfColdplug(1), offersOf(usbDevices) + Lines{keyboardsBegin});
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
  });
}

TEST(ColdplugOfKeyboards, TakesTheBootInterfaceForAHexadecimalNumber) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string node = world.plugKeyboard("1-2", "hiddev0", "0x1");
    EXPECT_EQ(world.passesOfColdplug(1).back(), "[rx_ctrl] add /class/usb/hiddev0");
    EXPECT_EQ(devicesWithWorkers(*world.ctrl), std::set<std::string>{node});
  });
}

TEST(ColdplugOfKeyboards, PassesMiceBy) {
  inColdplugWorld([](ColdplugWorld& world) {
    sim::UsbDevice mouse;
    mouse.descriptors = sim::mouseDescriptors();
    const std::string device = world.sysfs.add(mouse);
    world.sysfs.add(sim::HiddevNode{.usbDevice = device, .interfaceProtocol = "02"});
    EXPECT_EQ(world.passesOfColdplug(1), offersOf(usbDevices) + Lines{keyboardsBegin});
    EXPECT_EQ(devicesWithWorkers(*world.ctrl), std::set<std::string>{device});
  });
}

TEST(ColdplugOfKeyboards, PassesNodesOfOtherNamesBy) {
  inColdplugWorld([](ColdplugWorld& world) {
    for (const char* name : {"lp0", "usblp0", "xhiddev0", "hidde"}) {
      world.sysfs.makeDirectory(std::string("/sys/class/usb/") + name);
    }
    world.plugKeyboard("1-2", "legousbtower0");
    EXPECT_EQ(world.passesOfColdplug(1), offersOf(usbDevices) + Lines{keyboardsBegin});
  });
}

TEST(ColdplugOfKeyboards, OffersEveryOneOfThem) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string first = world.plugKeyboard("1-2", "hiddev3");
    const std::string second = world.plugKeyboard("1-4", "hiddev1");
    const std::string third = world.plugKeyboard("1-5", "hiddev2");
    EXPECT_EQ(world.passesOfColdplug(1),
              offersOf(usbDevices) + Lines{keyboardsBegin} + offersOf("/sys/class/usb"));
    EXPECT_EQ(devicesWithWorkers(*world.ctrl), (std::set<std::string>{first, second, third}));
  });
}

TEST(ColdplugOfStorage, IsSkippedWithoutItsDirectory) {
  inColdplugWorld([](ColdplugWorld& world) { EXPECT_EQ(world.saidOfColdplug(2), Lines{}); });
}

TEST(ColdplugOfStorage, OfNoneSaysThatItBegins) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.sysfs.makeDirectory("/sys/class/scsi_generic");
    EXPECT_EQ(world.saidOfColdplug(2), Lines{storageBegins});
  });
}

TEST(ColdplugOfStorage, StartsTheScsiWorker) {
  inColdplugWorld([](ColdplugWorld& world) {
    const std::string node = world.plugDisk();
    const Lines said = world.saidOfColdplug(2);
    const auto begin = std::find(said.begin(), said.end(), storageBegins);
    EXPECT_EQ(
        Lines(begin, said.end()),
        tagged({"colplugging storage devices", "add /class/scsi_generic/sg0", "subsystem is 'scsi_generic'",
                "this is a generic scsi device", "starting usb_rx_scsi for " + node}));
    EXPECT_EQ(devicesWithWorkers(*world.ctrl), std::set<std::string>{node});
  });
}

TEST(ColdplugOfStorage, OffersEveryNodeWhateverItIsOf) {
  inColdplugWorld([](ColdplugWorld& world) {
    world.sysfs.makeDirectory("/sys/class/scsi_generic/of_no_device");
    const std::string mouse = world.sysfs.add(sim::UsbDevice{});
    world.sysfs.add(sim::ScsiGenericNode{.usbDevice = mouse, .name = "sg7"});
    EXPECT_EQ(world.passesOfColdplug(2),
              offersOf(usbDevices) + Lines{storageBegins} + offersOf("/sys/class/scsi_generic"));
    EXPECT_EQ(world.ctrl->workers.byPath.size(), 2U);
  });
}

}  // namespace
