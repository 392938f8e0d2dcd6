// Devices that are taken out while the daemon reads one of their attributes: each test holds the daemon at
// one read, removes the device, and lets it go on. A kernel then gives what it has read already, or nothing.

#include <string>

#include "support/held_attribute.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::devpathOf;
using support::HeldAttribute;
using support::Lines;
using support::scanner;
using support::usbDevice;

namespace debug = contract::debug;
namespace display = contract::display;

const std::string directory = scanner().directory();

class VanishingAtRead : public support::Hotplug {
 protected:
  /**
   * What the daemon says of the device or node `announced` when `vanishing` goes while the attribute
   * `file` (a path) is read, and the read gives `content`.
   */
  Lines saidWhen(const std::string& vanishing, const std::string& file, const std::string& content,
                 const std::string& announced) {
    HeldAttribute held(file);
    return during([&] {
      unit.uevents.add(devpathOf(announced));
      held.waitForReader();
      unit.sysfs.removeDevice(vanishing);
      held.release(content);
    });
  }
};

struct Read : support::NamedCase {
  std::string classList;
  std::string settings;  ///< of the section "usb"
  std::string attribute;
  std::string content;  ///< that the read gives
  Lines said;
  Lines shown;  ///< on the display
};

constexpr const char* blocking = "block_mass_storage = 1\n";
const Lines nothing;

Lines just(const std::string& text) {
  return {text};
}

const Lines ignored = just(debug::eventIgnored);
const Lines generic = {debug::noIsochronousFound, debug::generic, debug::startingGeneric(directory)};

const std::vector<Read> reads = {
    {"UeventWithoutContentIsNoUsbDevice", "all", "", "uevent", "", nothing, nothing},
    {"UeventIsAwaitedInVain", "all", "", "uevent", *scanner().uevent, just(debug::undetermined), nothing},
    {"ClassWithoutContentEndsTheEvent", "all", "", "bDeviceClass", "", ignored, nothing},
    {"ClassEndsTheEvent", "all", "", "bDeviceClass", "00\n", ignored, nothing},
    {"ClassOfAHubIsAHub", "all", "", "bDeviceClass", "09\n", just(debug::hub), nothing},
    {"DescriptorsWithoutContentEndTheEvent", "all", "", "descriptors", "", ignored, nothing},
    {"CutDescriptorsEndTheEvent", "all", "", "descriptors", sim::deviceDescriptor().substr(0, 17), ignored,
     nothing},
    {"DescriptorsOfAMouseStartAWorkerAllTheSame", "all", "", "descriptors", sim::mouseDescriptors(), generic,
     nothing},
    {"DescriptorsOfADiskAreStorage", "all", "", "descriptors", sim::diskDescriptors(), just(debug::storage),
     nothing},
    {"DescriptorsOfAKeyboardAreAKeyboard", "all", "", "descriptors", sim::keyboardDescriptors(),
     just(debug::keyboard), nothing},
    {"NoDescriptorsForTheRulesStartAWorkerAllTheSame", "none", blocking, "descriptors", "", generic, nothing},
    {"DescriptorsForTheRulesStartAWorkerAllTheSame", "none", blocking, "descriptors",
     sim::vendorDeviceDescriptors(), generic, nothing},
    {"DescriptorsForARefusalAreRefusedByTheDefaultName", "none", blocking, "descriptors",
     sim::diskDescriptors(), just(debug::unsupported),
     just(display::massStorage(display::unnamedDevice) + "\n")},
    {"NameForARefusalIsWhatWasRead", "none", "hid_only = 1\n", "product", "Scan", just(debug::unsupported),
     just(display::nonHid("Scan") + "\n")},
};

class VanishingAtReadOf : public VanishingAtRead, public testing::WithParamInterface<Read> {};

INSTANTIATE_TEST_SUITE_P(Attribute, VanishingAtReadOf, testing::ValuesIn(reads),
                         testing::PrintToStringParamName());

TEST_P(VanishingAtReadOf, GoesOnWithWhatWasRead) {
  const Read& read = GetParam();
  sim::Unit::writeConfig("[usb]\n" + read.settings);
  start(read.classList);
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhen(directory, directory + "/" + read.attribute, read.content, directory),
            usbDevice(directory, read.said));
  EXPECT_EQ(unit.display.takeWrites(), read.shown);
  EXPECT_EQ(hasNoWorker(), read.said != generic);
}

TEST_F(VanishingAtRead, OfTheUeventFileIsHandledWhenPluggedInAnew) {
  start("all");
  unit.sysfs.add(scanner());
  HeldAttribute held(directory + "/uevent");
  EXPECT_EQ(during([&] {
              unit.uevents.add(devpathOf(directory));
              held.waitForReader();
              unit.sysfs.removeDevice(directory);
              unit.sysfs.add(scanner());
              held.release(*scanner().uevent);
            }),
            support::genericDevice(directory));
}

TEST_F(VanishingAtRead, OfTheNodesNumberStartsAKeyboardWorkerAllTheSame) {
  start("keyboard");
  const std::string usb = unit.sysfs.add(support::keyboard());
  const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = usb});
  EXPECT_EQ(saidWhen(usb, node + "/dev", "180:7\n", node),
            usbDevice(node, {debug::hid, debug::startingKeyboard(node, "180:7")}));
  EXPECT_EQ(unit.workers.waitForWorker().device(), "7");
  EXPECT_EQ(unit.display.waitForWrite(), display::attached(display::unnamedDevice) + "\n");
}

TEST_F(VanishingAtRead, OfTheKeyboardsNameHasItsWorkerStarted) {
  start("keyboard");
  const std::string usb = unit.sysfs.add(support::keyboard());
  const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = usb});
  EXPECT_EQ(saidWhen(usb, usb + "/product", "Keys", node),
            usbDevice(node, {debug::hid, debug::startingKeyboard(node, "180:0")}));
  unit.workers.waitForWorker();
  EXPECT_EQ(unit.display.waitForWrite(), display::attached("Keys") + "\n");
}

TEST_F(VanishingAtRead, OfTheDisksNameHasItsWorkerStarted) {
  start("scsi");
  for (const std::string name : {"vendor", "model"}) {
    const std::string usb = unit.sysfs.add(support::disk());
    const std::string node = unit.sysfs.add(sim::ScsiGenericNode{.usbDevice = usb, .name = "sg_" + name});
    EXPECT_EQ(saidWhen(usb, node + "/device/" + name, "What", node),
              support::nodeOf("scsi_generic", node, {debug::scsiGeneric, debug::startingScsi(node)}));
    EXPECT_EQ(unit.workers.waitForWorker().device(), node);
  }
  EXPECT_EQ(unit.display.waitForWrite(),
            display::attached(std::string("What ") + display::unnamedDevice) + "\n");
  EXPECT_EQ(unit.display.waitForWrite(), display::attached("ACME     What") + "\n");
}

}  // namespace
