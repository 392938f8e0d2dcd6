// What the display shows of a worker that was started.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "sim/recording_views.h"
#include "support/named_case.h"
#include "system/support/control_messages.h"
#include "system/support/hotplug.h"
#include "system/support/worker_launch.h"

namespace {

using support::Lines;
using support::scanner;

namespace debug = contract::debug;
namespace display = contract::display;
using Text = std::optional<std::string>;

void plugDisk(sim::Unit& unit, const Text& vendor, const Text& model) {
  unit.plug(
      sim::ScsiGenericNode{.usbDevice = unit.sysfs.add(support::disk()), .vendor = vendor, .model = model});
}

void plugKeyboard(sim::Unit& unit, const Text& product) {
  sim::UsbDevice device = support::keyboard();
  device.product = product;
  unit.plug(sim::HiddevNode{.usbDevice = unit.sysfs.add(device)});
}

sim::UsbDevice unnamedScanner() {
  sim::UsbDevice device = scanner();
  device.product.reset();
  return device;
}

struct Plug : support::NamedCase {
  std::function<void(sim::Unit& unit)> plug;
  Lines shown;           ///< lines of the display
  Lines shownConnected;  ///< the same with a control connection
};

Plug shownAnyway(const char* name, const std::function<void(sim::Unit& unit)>& plug, const Lines& names) {
  Lines lines;
  for (const std::string& shownName : names) {
    lines.push_back(display::attached(shownName) + "\n");
  }
  return {name, plug, lines, lines};
}

Plug shownConnected(const char* name, const std::function<void(sim::Unit& unit)>& plug,
                    const std::string& shownName) {
  return {name, plug, {}, {display::attached(shownName) + "\n"}};
}

const std::string unnamed = display::unnamedDevice;
const std::string recordedDisk = "QEMU     QEMU HARDDISK   ";

const std::vector<Plug> plugs = {
    shownConnected(
        "GenericDevice", [](sim::Unit& unit) { unit.plug(scanner()); }, "Scanner"),
    shownConnected(
        "UnnamedGenericDevice", [](sim::Unit& unit) { unit.plug(unnamedScanner()); }, unnamed),
    shownConnected(
        "GenericDeviceAnnouncedTwice",
        [](sim::Unit& unit) { unit.uevents.add(support::devpathOf(unit.plug(scanner()))); }, "Scanner"),
    shownAnyway("Keyboard", [](sim::Unit& unit) { plugKeyboard(unit, "Deck"); }, {"Deck"}),
    shownAnyway("UnnamedKeyboard", [](sim::Unit& unit) { plugKeyboard(unit, {}); }, {unnamed}),
    shownAnyway("Disk", [](sim::Unit& unit) { plugDisk(unit, "ACME    ", "Stick "); }, {"ACME     Stick "}),
    shownAnyway("DiskWithoutVendor", [](sim::Unit& unit) { plugDisk(unit, {}, "Stick"); }, {" Stick"}),
    shownAnyway("DiskWithoutModel", [](sim::Unit& unit) { plugDisk(unit, "ACME", {}); }, {"ACME " + unnamed}),
    shownAnyway("DiskWithoutVendorAndModel", [](sim::Unit& unit) { plugDisk(unit, {}, {}); },
                {" " + unnamed}),
    shownAnyway(
        "RecordedKeyboard",
        [](sim::Unit& unit) { unit.plug(sim::withClassUsbHiddev(sim::loadRecording("kbd-fs-hiddev"))); },
        {"QEMU USB Keyboard"}),
    shownAnyway("TwoRecordedDisksInOneDevice",
                [](sim::Unit& unit) { unit.plug(sim::loadRecording("storage-2lun")); },
                {recordedDisk, recordedDisk}),
};

class WorkerAnnouncement : public support::WorkerLaunch {
 protected:
  WorkerAnnouncement() { startWith({"--debug=ctrl"}); }

  /** Everything that is shown until the daemon has handled what `plug` sends. */
  Lines shownOf(const std::function<void(sim::Unit& unit)>& plug) {
    plug(unit);
    unit.settle();
    return unit.display.takeWrites();
  }
};

class WorkerAnnouncementOf : public WorkerAnnouncement, public testing::WithParamInterface<Plug> {};

INSTANTIATE_TEST_SUITE_P(Devices, WorkerAnnouncementOf, testing::ValuesIn(plugs),
                         testing::PrintToStringParamName());

TEST_P(WorkerAnnouncementOf, IsMadeOnceWithoutAControlConnection) {
  EXPECT_EQ(shownOf(GetParam().plug), GetParam().shown);
  EXPECT_FALSE(unit.daemon().children().empty());
}

TEST_P(WorkerAnnouncementOf, IsMadeOnceWithAControlConnection) {
  const sim::LinkManager manager = support::deliver(unit, "transmitter 5000 high eth1");
  EXPECT_EQ(shownOf(GetParam().plug), GetParam().shownConnected);
}

TEST_F(WorkerAnnouncement, OfAGenericDeviceIsNotMadeForAQuery) {
  support::askForParameters(unit);
  EXPECT_EQ(shownOf([](sim::Unit& plugged) { plugged.plug(scanner()); }), Lines());
}

TEST_F(WorkerAnnouncement, IsLoggedBeforehand) {
  plugKeyboard(unit, "Deck");
  plugDisk(unit, {}, {});
  unit.plug(scanner());
  unit.settle();
  Lines started = unit.daemon().messages();
  std::erase_if(started,
                [](const std::string& message) { return message.find("starting") == std::string::npos; });
  EXPECT_EQ(started,
            support::tagged(
                {debug::startingKeyboard(support::keyboard().directory() + "/1-2:1.0/usb/hiddev0", "180:0"),
                 debug::startingScsi(scsiDirectory), debug::startingGeneric(genericDirectory)}));
}

}  // namespace
