// Devices that are plugged in when the daemon starts.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "sim/recording_views.h"
#include "support/held_attribute.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"
#include "system/support/last_words.h"

namespace {

using support::Lines;
using support::scanner;
using support::tagged;

namespace debug = contract::debug;
namespace error = contract::error;

class DevicesAtStart : public support::Hotplug {
 protected:
  /** Starts the daemon; it may be at its coldplug for long. */
  sim::Daemon& startDuring(const std::string& classList) {
    return unit.startDaemon({"--debug=ctrl", "--class=" + classList, "transmitter", "5000", "high"});
  }
  /** The program and the last argument of every worker so far. */
  std::set<Lines> startedWorkers() {
    std::set<Lines> started;
    for (std::size_t i = unit.daemon().children().size(); i > 0; --i) {
      const sim::Worker& worker = unit.workers.waitForWorker();
      started.insert({worker.program(), worker.device()});
    }
    return started;
  }
};

TEST_F(DevicesAtStart, ComeBeforeTheEventsOfTheKernel) {
  const std::string device = unit.sysfs.add(scanner());
  start("all");
  EXPECT_EQ(unit.daemon().messages(),
            tagged({debug::hangupHandler, debug::coldplugging, debug::event("add", "/bus/usb/devices/1-1"),
                    debug::subsystem("usb"), debug::noIsochronousFound, debug::generic,
                    debug::startingGeneric(device), debug::hotplugging}));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, support::genericWorker(device));
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

struct Served {
  std::string classList;
  bool keyboards;
  bool disks;
};

std::ostream& operator<<(std::ostream& out, const Served& served) {
  return out << served.classList;
}

class DevicesAtStartServed : public DevicesAtStart, public testing::WithParamInterface<Served> {};

INSTANTIATE_TEST_SUITE_P(ClassList, DevicesAtStartServed,
                         testing::Values(Served{"none", false, false}, Served{"keyboard", true, false},
                                         Served{"scsi", false, true}, Served{"all", true, true}));

TEST_P(DevicesAtStartServed, HaveTheWorkersOfTheirKinds) {
  const sim::DeviceRecording keys = sim::withClassUsbHiddev(sim::loadRecording("kbd-fs-hiddev"));
  const sim::DeviceRecording stick = sim::atPort(sim::loadRecording("storage-hs"), "1-7", 1);
  const sim::DeviceRecording reader = sim::atPort(sim::loadRecording("ccid"), "1-8", 2);
  for (const auto* recording : {&keys, &stick, &reader}) {
    unit.sysfs.layOut(*recording);
  }
  start(GetParam().classList);
  EXPECT_EQ(startedWorkers(),
            (std::set<Lines>{GetParam().keyboards ? Lines{"usb_rx_keyboard", "0"}
                                                  : Lines{"usb_rx_generic", keys.directory},
                             GetParam().disks ? Lines{"usb_rx_scsi", stick.nodes("sg").front()}
                                              : Lines{"usb_rx_generic", stick.directory},
                             {"usb_rx_generic", reader.directory}}));
}

TEST_F(DevicesAtStart, AreShownToTheUserWhenTheyAreRefused) {
  const sim::DeviceRecording camera = sim::loadRecording("made-camera-hs");
  unit.sysfs.layOut(camera);
  start("all");
  EXPECT_EQ(unit.display.waitForWrite(), contract::display::isochronous(camera.product) + "\n");
  EXPECT_TRUE(hasNoWorker());
}

TEST_F(DevicesAtStart, HaveOneWorkerThoughTheKernelAnnouncesThemMeanwhile) {
  const std::string device = unit.sysfs.add(scanner());
  support::HeldAttribute held(device + "/bDeviceClass");
  startDuring("none");
  held.waitForReader();
  unit.uevents.add(support::devpathOf(device));
  held.release("00\n");
  unit.waitUntilServing();
  unit.settle();
  const Lines messages = unit.daemon().messages();
  const auto serving = std::find(messages.begin(), messages.end(), tagged({debug::hotplugging}).front());
  ASSERT_NE(serving, messages.end());
  EXPECT_EQ(Lines(serving + 1, messages.end() - 1),
            tagged({debug::event("add", support::devpathOf(device)), debug::alreadyHandled}));
  EXPECT_EQ(unit.daemon().children().size(), 1U);
}

TEST_F(DevicesAtStart, LeaveADiskThatIsPluggedInMeanwhileItsOneWorker) {
  const std::string present = unit.sysfs.add(scanner("1-1"));
  support::HeldAttribute held(present + "/bDeviceClass");
  startDuring("scsi");
  held.waitForReader();
  // Seen by the pass over the disks or not, the kernel's event follows.
  const std::string node = unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(support::disk())});
  held.release("00\n");
  unit.waitUntilServing();
  unit.settle();
  EXPECT_EQ(unit.workers.waitForWorkerOf(node).program(), "usb_rx_scsi");
  EXPECT_EQ(unit.workers.waitForWorkerOf(present).program(), "usb_rx_generic");
  EXPECT_EQ(unit.daemon().children().size(), 2U);
}

TEST_F(DevicesAtStart, HaveTheirWorkersLookedAfterLikeAnyOther) {
  const std::string device = unit.sysfs.add(scanner());
  start("none");
  unit.workers.waitForWorker().exitWith(1);
  EXPECT_EQ(Lines{unit.daemon().waitForLine("restarting")}, tagged({debug::restarting(device, 1)}));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, support::genericWorker(device));
}

TEST_F(DevicesAtStart, ArePassedByWhenTheyCannotBeHandled) {
  unit.sysfs.makeLink("/sys/bus/usb/devices/1-4", "../../../../devices/none");
  const std::string device = unit.sysfs.add(scanner());
  start("all");
  EXPECT_TRUE(unit.daemon().hasLine(debug::eventIgnored));
  EXPECT_EQ(startedWorkers(), (std::set<Lines>{{"usb_rx_generic", device}}));
}

TEST_F(DevicesAtStart, WithoutTheirDirectoryEndTheDaemon) {
  std::filesystem::remove(unit.sysfs.placeOf("/sys/bus/usb/devices"));
  EXPECT_EQ(support::lastWordsOf(startDuring("none")),
            error::whileCalling("No such file or directory", "opendir(/sys/bus/usb/devices)"));
}

/** A keyboard's node that coldplug cannot judge. */
struct Unreadable : support::NamedCase {
  std::function<void(sim::Sysfs& sysfs)> change;
  std::string lastWords;
};

class DevicesAtStartUnreadable : public DevicesAtStart, public testing::WithParamInterface<Unreadable> {};

const std::string directory = support::keyboard().directory();

/** What a keyboard's missing attribute ends the daemon with. */
std::string missing(const std::string& attribute) {
  return error::whileCalling("No such file or directory",
                             "open(\"/sys/class/usb/hiddev0/device/" + attribute + "\")");
}

INSTANTIATE_TEST_SUITE_P(
    Keyboards, DevicesAtStartUnreadable,
    testing::Values(Unreadable{"NoDescriptors",
                               [](sim::Sysfs& sysfs) { sysfs.removeAttribute(directory, "descriptors"); },
                               missing("../descriptors")},
                    Unreadable{"ShortDescriptors",
                               [](sim::Sysfs& sysfs) {
                                 sysfs.writeAttribute(directory, "descriptors",
                                                      sim::keyboardDescriptors().substr(0, 17));
                               },
                               "EOF"},
                    Unreadable{"OtherDescriptors",
                               [](sim::Sysfs& sysfs) {
                                 sysfs.writeAttribute(directory, "descriptors",
                                                      sim::configuration(sim::interface(3, 1, 1)));
                               },
                               error::notADevice},
                    Unreadable{"NoSubclass",
                               [](sim::Sysfs& sysfs) {
                                 sysfs.removeAttribute(directory + "/1-2:1.0", "bInterfaceSubClass");
                               },
                               missing("bInterfaceSubClass")}),
    testing::PrintToStringParamName());

TEST_P(DevicesAtStartUnreadable, EndTheDaemon) {
  unit.sysfs.add(sim::HiddevNode{.usbDevice = unit.sysfs.add(support::keyboard())});
  GetParam().change(unit.sysfs);
  EXPECT_EQ(support::lastWordsOf(startDuring("keyboard")), GetParam().lastWords);
  EXPECT_TRUE(unit.daemon().hasLine(debug::coldpluggingKeyboards));
  EXPECT_FALSE(unit.daemon().hasLine(debug::hotplugging));
}

}  // namespace
