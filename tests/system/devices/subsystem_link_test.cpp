// How the daemon finds out to which subsystem a device belongs: from the text of its "subsystem" link.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

constexpr std::size_t longestText = 128;

class SubsystemLink : public Hotplug {
 protected:
  SubsystemLink() {
    start("all");
    unit.sysfs.makeDirectory(directory);
  }

  /** What the daemon says of a node whose link has this text. */
  Messages saidOfText(const std::string& text) {
    unit.sysfs.makeLink(directory + "/subsystem", text);
    return saidOfAdding(directory);
  }
  static Messages isSubsystem(const std::string& subsystem) {
    return rxCtrl({"add " + devpathOf(directory), "subsystem is '" + subsystem + "'"});
  }

  static inline const std::string directory = "/sys/devices/platform/node";
};

/** A path of `length` bytes that ends in "/" and this name. */
std::string pathEndingIn(const std::string& name, std::size_t length) {
  return "../" + std::string(length - name.size() - 4, 'p') + "/" + name;
}

TEST_F(SubsystemLink, ThatIsMissingMeansNone) {
  EXPECT_EQ(saidOfAdding(directory), isSubsystem(""));
}

TEST_F(SubsystemLink, NamesItByItsLastPart) {
  EXPECT_EQ(saidOfText("../../../class/input"), isSubsystem("input"));
  EXPECT_EQ(saidOfText("/somewhere/else/tty"), isSubsystem("tty"));
}

TEST_F(SubsystemLink, NeedNotLeadAnywhere) {
  EXPECT_EQ(saidOfText("nowhere/at/all"), isSubsystem("all"));
  EXPECT_EQ(saidOfText("subsystem"), isSubsystem("subsystem"));  // to itself
}

TEST_F(SubsystemLink, MayBeANameAlone) {
  EXPECT_EQ(saidOfText("input"), isSubsystem("input"));
}

TEST_F(SubsystemLink, ThatEndsInASlashMeansNone) {
  EXPECT_EQ(saidOfText("../../../class/input/"), isSubsystem(""));
}

TEST_F(SubsystemLink, MayHaveOddCharacters) {
  EXPECT_EQ(saidOfText("class/a b'c\xff%s"), isSubsystem("a b'c\xff%s"));
}

TEST_F(SubsystemLink, IsReadWholeUpTo128Bytes) {
  EXPECT_EQ(saidOfText(pathEndingIn("input", longestText - 1)), isSubsystem("input"));
  EXPECT_EQ(saidOfText(pathEndingIn("input", longestText)), isSubsystem("input"));
}

TEST_F(SubsystemLink, IsCutAt128Bytes) {
  EXPECT_EQ(saidOfText(pathEndingIn("inputs", longestText + 1)), isSubsystem("input"));
  EXPECT_EQ(saidOfText(pathEndingIn("input/tail", longestText + 5)), isSubsystem("input"));
  EXPECT_EQ(saidOfText(std::string(1000, 'n')), isSubsystem(std::string(longestText, 'n')));
}

TEST_F(SubsystemLink, ThatIsCutToUsbMakesAUsbDevice) {
  unit.sysfs.writeAttribute(directory, "uevent", "DEVTYPE=usb_device\n");
  unit.sysfs.writeAttribute(directory, "bDeviceClass", "09\n");
  EXPECT_EQ(saidOfText(pathEndingIn("usbmisc", longestText + 4)), usbDevice(directory, {kind::hub}));
}

TEST_F(SubsystemLink, ThatIsNoLinkEndsTheEvent) {
  unit.sysfs.writeAttribute(directory, "subsystem", "usb");
  EXPECT_EQ(saidOfAdding(directory), rxCtrl({"add " + devpathOf(directory), eventIgnored}));
  unit.sysfs.removeAttribute(directory, "subsystem");
  unit.sysfs.makeDirectory(directory + "/subsystem");
  EXPECT_EQ(saidOfAdding(directory), rxCtrl({"add " + devpathOf(directory), eventIgnored}));
}

}  // namespace
