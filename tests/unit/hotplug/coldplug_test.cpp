// Devices that are plugged in before the daemon starts.

#include "hotplug/coldplug.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "ctrl/device_classes.h"
#include "sim/contract.h"
#include "sim/files.h"
#include "sim/sysfs.h"
#include "support/launch_world.h"
#include "support/thrown.h"

namespace {

using support::Lines;
using support::tagged;
using Names = std::set<std::string>;
namespace debug = contract::debug;

const std::string usbDevices = "/sys/bus/usb/devices";
const std::string hidNodes = "/sys/class/usb";
const std::string scsiNodes = "/sys/class/scsi_generic";

/** A world in which devices are plugged in before the daemon looks. */
class Coldplug : public support::LaunchWorld {
 protected:
  /** A keyboard and its node, whose interface has this subclass; the node's directory. */
  std::string plugKeyboard(const std::string& port = "1-2", const std::string& node = "hiddev0",
                           const std::string& subclass = "01") {
    sim::UsbDevice keyboard{.name = port, .product = "Keyboard"};
    keyboard.descriptors = sim::keyboardDescriptors();
    return sysfs_.add(
        sim::HiddevNode{.usbDevice = sysfs_.add(keyboard), .name = node, .interfaceSubclass = subclass});
  }
  /** A disk and its node "sg0"; the node's directory. */
  std::string plugDisk() {
    sim::UsbDevice disk{.name = "1-3", .product = "Disk"};
    disk.descriptors = sim::diskDescriptors();
    return sysfs_.add(sim::ScsiGenericNode{.usbDevice = sysfs_.add(disk)});
  }

  void run(std::uint32_t classes) {
    ctrl_->classes = classes;
    coldplug(*ctrl_);
  }
  /** What is logged, with debugging, of the devices that are there. */
  Lines logOf(std::uint32_t classes) {
    return support::debugLogDuring([this, classes] { run(classes); });
  }
  /** Of that, what begins a pass, and the path of each made-up event. */
  Lines passesOf(std::uint32_t classes) {
    Lines passes = logOf(classes);
    std::erase_if(passes, [](const std::string& line) {
      return !line.starts_with(tagged({"add "}).front()) && !line.starts_with(tagged({"co"}).front());
    });
    return passes;
  }
  [[nodiscard]] Names devicesWithWorkers() const {
    Names devices;
    for (const auto& [path, pid] : ctrl_->workers.byPath) {
      devices.emplace(path);
    }
    return devices;
  }

  sim::Sysfs sysfs_;
};

void append(Lines& lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
}

Lines operator+(Lines lines, const Lines& more) {
  append(lines, more);
  return lines;
}

// The debug messages of events for every entry of a directory of sysfs, in the order of its entries.
Lines offersOf(const std::string& directory) {
  Lines offers;
  for (const std::filesystem::path& entry : sim::entriesOf(directory)) {
    offers.push_back(debug::event("add", entry.string().substr(4)));
  }
  return tagged(offers);
}

Lines from(const std::string& line, const Lines& log) {
  return {std::find(log.begin(), log.end(), line), log.end()};
}

const std::string keyboardsBegin = tagged({debug::coldpluggingKeyboards}).front();
const std::string storageBegins = tagged({debug::coldpluggingStorage}).front();

TEST_F(Coldplug, PassesKeyboardsAndThenDisksBehindAllUsbDevicesAsTheMaskSays) {
  struct Mask {
    std::uint32_t classes;
    bool keyboards;
    bool storage;
  };
  sysfs_.add(sim::UsbDevice{});
  plugKeyboard();
  plugDisk();
  for (const Mask& mask : {Mask{0, false, false}, Mask{1, true, false}, Mask{2, false, true},
                           Mask{3, true, true}, Mask{252, false, false}, Mask{255, true, true}}) {
    Lines expected = offersOf(usbDevices);
    if (mask.keyboards) {
      append(expected, Lines{keyboardsBegin} + offersOf(hidNodes));
    }
    if (mask.storage) {
      append(expected, Lines{storageBegins} + offersOf(scsiNodes));
    }
    EXPECT_EQ(passesOf(mask.classes), expected) << mask.classes;
  }
}

TEST_F(Coldplug, StartsTheWorkerOfEachKind) {
  const std::string generic = sysfs_.add(sim::UsbDevice{});
  const std::string keyboard = plugKeyboard();
  const std::string disk = plugDisk();
  EXPECT_EQ(from(keyboardsBegin, logOf(allClasses)),
            tagged({debug::coldpluggingKeyboards, debug::event("add", "/class/usb/hiddev0"),
                    debug::subsystem("usb"), debug::hid, debug::startingKeyboard(keyboard, "180:0"),
                    debug::coldpluggingStorage, debug::event("add", "/class/scsi_generic/sg0"),
                    debug::subsystem("scsi_generic"), debug::scsiGeneric, debug::startingScsi(disk)}));
  EXPECT_EQ(devicesWithWorkers(), (Names{generic, keyboard, disk}));
  for (const char* program : {"usb_rx_generic", "usb_rx_keyboard", "usb_rx_scsi"}) {
    EXPECT_EQ(nextStart().arguments.front(), program);
  }
}

TEST_F(Coldplug, OfNothingLogsNothingButThatAPassBegins) {
  EXPECT_EQ(logOf(allClasses), Lines{}) << "without the directories of nodes";
  sysfs_.makeDirectory(hidNodes);
  sysfs_.makeDirectory(scsiNodes);
  EXPECT_EQ(logOf(allClasses), (Lines{keyboardsBegin, storageBegins}));
}

TEST_F(Coldplug, TakesEntriesAsTheyCome) {
  for (const char* name : {"1-4", "1-1", "1-7", "1-2", "1-9", "1-3"}) {
    sysfs_.add(sim::UsbDevice{.name = name});
  }
  const Lines offers = offersOf(usbDevices);
  ASSERT_FALSE(std::is_sorted(offers.begin(), offers.end()));
  EXPECT_EQ(passesOf(noClasses), offers);
}

TEST_F(Coldplug, OffersInterfacesAndHubsWhichTheHandlerKnows) {
  const std::string hub = sysfs_.add(
      sim::UsbDevice{.name = "usb1", .parent = "/sys/devices/platform/usb-host.0", .deviceClass = "09"});
  EXPECT_EQ(logOf(noClasses),
            tagged({debug::event("add", "/bus/usb/devices/usb1"), debug::subsystem("usb"), debug::hub}));
  sysfs_.removeDevice(hub);
  plugDisk();
  std::filesystem::remove(usbDevices + "/1-3");
  EXPECT_EQ(logOf(noClasses),
            tagged({debug::event("add", "/bus/usb/devices/1-3:1.0"), debug::subsystem("usb")}));
  EXPECT_TRUE(ctrl_->workers.byPid.empty());
}

TEST_F(Coldplug, ResolvesTheLinkOfADeviceAndStartsNoSecondWorkerOfIt) {
  const std::string device = sysfs_.add(sim::UsbDevice{});
  EXPECT_EQ(logOf(noClasses),
            tagged({debug::event("add", "/bus/usb/devices/1-1"), debug::subsystem("usb"),
                    debug::noIsochronousFound, debug::generic, debug::startingGeneric(device)}));
  EXPECT_EQ(devicesWithWorkers(), Names{device});
  EXPECT_EQ(logOf(noClasses), tagged({debug::event("add", "/bus/usb/devices/1-1"), debug::alreadyHandled}));
  EXPECT_EQ(ctrl_->workers.byPid.size(), 1U);
}

TEST_F(Coldplug, OffersEveryKeyboardNode) {
  const std::string first = plugKeyboard("1-2", "hiddev3");
  const std::string second = plugKeyboard("1-4", "hiddev1");
  const std::string third = plugKeyboard("1-5", "hiddev2");
  EXPECT_EQ(passesOf(keyboardClass), offersOf(usbDevices) + Lines{keyboardsBegin} + offersOf(hidNodes));
  EXPECT_EQ(devicesWithWorkers(), (Names{first, second, third}));
}

TEST_F(Coldplug, OffersNoHiddevNodeWithoutTheBootInterfaceWhichIsAHexadecimalNumber) {
  for (const std::string subclass : {"00", "02", "10", "11", "", "0x1"}) {
    const bool isBoot = subclass == "0x1";
    const std::string node = plugKeyboard("1-2", "hiddev0", subclass);
    EXPECT_EQ(passesOf(keyboardClass),
              offersOf(usbDevices) + Lines{keyboardsBegin} + (isBoot ? offersOf(hidNodes) : Lines{}));
    EXPECT_EQ(devicesWithWorkers(), isBoot ? Names{node} : Names{}) << subclass;
  }
}

TEST_F(Coldplug, OffersNoNodeOfAMouseWhateverItsSubclass) {
  sim::UsbDevice mouse;
  mouse.descriptors = sim::mouseDescriptors();
  const std::string device = sysfs_.add(mouse);
  sysfs_.add(sim::HiddevNode{.usbDevice = device, .interfaceProtocol = "02"});
  EXPECT_EQ(passesOf(keyboardClass), offersOf(usbDevices) + Lines{keyboardsBegin});
  sysfs_.removeAttribute(device + "/1-1:1.0", "bInterfaceSubClass");
  EXPECT_EQ(passesOf(keyboardClass).back(), keyboardsBegin);
  EXPECT_EQ(devicesWithWorkers(), Names{device});
}

TEST_F(Coldplug, OffersNoNodeOfAnotherName) {
  for (const char* name : {"lp0", "usblp0", "xhiddev0", "hidde"}) {
    sysfs_.makeDirectory(hidNodes + "/" + name);
  }
  plugKeyboard("1-2", "legousbtower0");
  EXPECT_EQ(passesOf(keyboardClass), offersOf(usbDevices) + Lines{keyboardsBegin});
}

TEST_F(Coldplug, OffersEveryScsiNodeWhateverItIsOf) {
  sysfs_.makeDirectory(scsiNodes + "/of_no_device");
  const std::string mouse = sysfs_.add(sim::UsbDevice{});
  sysfs_.add(sim::ScsiGenericNode{.usbDevice = mouse, .name = "sg7"});
  EXPECT_EQ(passesOf(storageClass), offersOf(usbDevices) + Lines{storageBegins} + offersOf(scsiNodes));
  EXPECT_EQ(ctrl_->workers.byPath.size(), 2U);
}

TEST_F(Coldplug, GoesOnBehindANodeThatCannotBeServed) {
  const std::string node = plugKeyboard();
  sysfs_.removeAttribute(node, "dev");
  const std::string disk = plugDisk();
  sysfs_.makeLink(scsiNodes + "/sg1", "../../devices/none");
  run(allClasses);
  EXPECT_EQ(devicesWithWorkers(), Names{disk});
}

TEST_F(Coldplug, EndsWhereAClassIsAFileOrCannotBeLookedFor) {
  sysfs_.makeLink(hidNodes, "usb");
  sim::writeFile(scsiNodes, "");
  EXPECT_EQ(support::contextThrownBy([this] { run(keyboardClass); }), "stat(/sys/class/usb)");
  EXPECT_EQ(support::contextThrownBy([this] { run(storageClass); }), "opendir(/sys/class/scsi_generic)");
  std::filesystem::remove(hidNodes);
  sim::writeFile(hidNodes, "");
  EXPECT_EQ(support::contextThrownBy([this] { run(keyboardClass); }), "opendir(/sys/class/usb)");
}

}  // namespace
