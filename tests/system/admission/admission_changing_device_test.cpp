// Devices that are incomplete when the rules look at them, or change while they do.

#include <filesystem>
#include <functional>
#include <string>

#include "support/held_attribute.h"
#include "support/named_case.h"
#include "system/support/admission_check.h"
#include "system/support/control_messages.h"

namespace {

using support::admittedSilently;
using support::Decision;
using support::fastScanner;
using support::mouse;
using support::refusedSilently;
using support::refusedWith;

namespace display = contract::display;

const std::string name = "Synthetic Device";

struct Incomplete : support::NamedCase {
  std::string settings;
  std::string link;
  sim::UsbDevice device;
  std::string attribute;  ///< a directory is in its place
  Decision decision;
  bool endsTheEvent;
};

class AdmissionChangingDeviceAttribute : public support::AdmissionCheck,
                                         public testing::WithParamInterface<Incomplete> {};

const sim::UsbDevice highSpeedDisk = support::named(support::disk(), "1-1", name);

INSTANTIATE_TEST_SUITE_P(
    Rules, AdmissionChangingDeviceAttribute,
    testing::Values(
        Incomplete{"DescriptorsAreNeeded", "", "high", mouse(), "descriptors", refusedSilently, true},
        Incomplete{"DescriptorsAreNotReadWhereNoRuleAsks", "isochronous_enabled = true\n", "high", mouse(),
                   "descriptors", admittedSilently, false},
        Incomplete{"SpeedIsNeededOnAFullSpeedLink", "", "full", fastScanner(), "speed", refusedSilently,
                   true},
        Incomplete{"SpeedIsNotReadOnAFasterLink", "", "high", fastScanner(), "speed", admittedSilently,
                   false},
        Incomplete{"SpeedIsNotReadOfADeviceThatIsRefusedBefore", "block_mass_storage = true\n", "full",
                   highSpeedDisk, "speed", refusedWith(display::massStorage(name)), false},
        Incomplete{"NameIsNeededForARefusal", "", "high", support::isochronousDevice(), "product",
                   refusedSilently, true}),
    testing::PrintToStringParamName());

TEST_P(AdmissionChangingDeviceAttribute, IsReadWhereARuleNeedsIt) {
  startWith(GetParam().settings, GetParam().link);
  const std::string directory = unit.sysfs.add(GetParam().device);
  unit.sysfs.removeAttribute(directory, GetParam().attribute);
  unit.sysfs.makeDirectory(directory + "/" + GetParam().attribute);
  EXPECT_EQ(decideAdded(directory), GetParam().decision);
  EXPECT_EQ(unit.daemon().hasLine(contract::debug::eventIgnored), GetParam().endsTheEvent);
}

class AdmissionChangingDevice : public support::AdmissionCheck {
 protected:
  /** The decision of a mouse that changes while a rule reads its descriptors, as which it gets `content`. */
  Decision decideWhenChanged(const std::string& content, const std::function<void()>& change) {
    unit.sysfs.add(mouse());
    return decisionAfter([&] {
      support::HeldAttribute descriptors(directory + "/descriptors");
      unit.uevents.add(support::devpathOf(directory));
      descriptors.waitForReader();
      change();
      descriptors.release(content);
    });
  }

  static inline const std::string directory = mouse().directory();
};

TEST_F(AdmissionChangingDevice, HasItsDescriptorsReadOnceForAllRules) {
  startWith("smartcard = true\nhid_only = true\n");
  EXPECT_EQ(decideWhenChanged(sim::mouseDescriptors(),
                              [&] {
                                unit.sysfs.removeAttribute(directory, "descriptors");
                                unit.sysfs.writeAttribute(directory, "descriptors",
                                                          sim::vendorDeviceDescriptors());
                              }),
            admittedSilently);
}

TEST_F(AdmissionChangingDevice, HasItsNameReadWhenItIsShownToTheUser) {
  startWith("block_mass_storage = true\n");
  EXPECT_EQ(decideWhenChanged(sim::diskDescriptors(),
                              [&] { unit.sysfs.writeAttribute(directory, "product", "Renamed\n"); }),
            refusedWith(display::massStorage("Renamed")));
}

TEST_F(AdmissionChangingDevice, HasItsSpeedReadAfterTheDescriptors) {
  startWith("", "full");
  EXPECT_EQ(decideWhenChanged(sim::mouseDescriptors(),
                              [&] { unit.sysfs.writeAttribute(directory, "speed", "480\n"); }),
            refusedWith(display::highSpeed(name)));
}

TEST_F(AdmissionChangingDevice, IsOfferedAgainByItsNextEvent) {
  startWith("");
  unit.sysfs.add(mouse());
  unit.sysfs.removeAttribute(directory, "descriptors");
  EXPECT_EQ(decideAdded(directory), refusedSilently);
  unit.sysfs.writeAttribute(directory, "descriptors", sim::mouseDescriptors());
  EXPECT_EQ(decideAdded(directory), admittedSilently);
}

TEST_F(AdmissionChangingDevice, IsDecidedByTheSpeedOfTheLatestLinkParameters) {
  startWithoutConfiguration("high");
  const sim::LinkManager first = support::deliver(unit, "transmitter 5000 full eth1");
  EXPECT_EQ(decide(fastScanner("1-1", "First")), refusedWith(display::highSpeed("First")));
  const sim::LinkManager second = support::deliver(unit, "transmitter 5000 fullspeed eth1");
  EXPECT_EQ(decide(fastScanner("1-2", "Second")), (Decision{true, {display::attached("Second") + "\n"}}));
}

}  // namespace
