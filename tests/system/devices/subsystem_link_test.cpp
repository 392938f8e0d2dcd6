// How the daemon finds out to which subsystem a node belongs: from the text of its "subsystem" link.

#include <string>

#include "support/named_case.h"
#include "system/support/hotplug.h"

namespace {

constexpr std::size_t longestText = 128;

const std::string directory = "/sys/devices/platform/node";

/** A path of `length` bytes that ends in "/" and this name. */
std::string pathEndingIn(const std::string& name, std::size_t length) {
  return "../" + std::string(length - name.size() - 4, 'p') + "/" + name;
}

struct Link : support::NamedCase {
  std::string text;
  std::string subsystem;
};

class SubsystemLink : public support::Hotplug {
 protected:
  SubsystemLink() {
    start("all");
    unit.sysfs.makeDirectory(directory);
  }
};

class SubsystemLinkText : public SubsystemLink, public testing::WithParamInterface<Link> {};

INSTANTIATE_TEST_SUITE_P(
    Links, SubsystemLinkText,
    testing::Values(Link{"RelativePath", "../../../class/input", "input"},
                    Link{"AbsolutePath", "/somewhere/else/tty", "tty"},
                    Link{"NowhereAtAll", "nowhere/at/all", "all"}, Link{"ToItself", "subsystem", "subsystem"},
                    Link{"NameAlone", "input", "input"}, Link{"SlashAtItsEnd", "../../../class/input/", ""},
                    Link{"OddCharacters", "class/a b'c\xff%s", "a b'c\xff%s"},
                    Link{"OneByteLessThanTheLongest", pathEndingIn("input", longestText - 1), "input"},
                    Link{"Longest", pathEndingIn("input", longestText), "input"},
                    Link{"CutByOneByte", pathEndingIn("inputs", longestText + 1), "input"},
                    Link{"CutBeforeASlash", pathEndingIn("input/tail", longestText + 5), "input"},
                    Link{"LongName", std::string(1000, 'n'), std::string(longestText, 'n')}),
    testing::PrintToStringParamName());

TEST_P(SubsystemLinkText, NamesItByItsLastPart) {
  unit.sysfs.makeLink(directory + "/subsystem", GetParam().text);
  EXPECT_EQ(saidOfAdding(directory), support::nodeOf(GetParam().subsystem, directory));
}

TEST_F(SubsystemLink, ThatIsMissingMeansNone) {
  EXPECT_EQ(saidOfAdding(directory), support::nodeOf("", directory));
}

TEST_F(SubsystemLink, ThatIsCutToUsbMakesAUsbDevice) {
  unit.sysfs.writeAttribute(directory, "uevent", "DEVTYPE=usb_device\n");
  unit.sysfs.writeAttribute(directory, "bDeviceClass", "09\n");
  unit.sysfs.makeLink(directory + "/subsystem", pathEndingIn("usbmisc", longestText + 4));
  EXPECT_EQ(saidOfAdding(directory), support::usbDevice(directory, {contract::debug::hub}));
}

TEST_F(SubsystemLink, ThatIsNoLinkEndsTheEvent) {
  unit.sysfs.writeAttribute(directory, "subsystem", "usb");
  EXPECT_EQ(saidOfAdding(directory), support::ignoredEvent(support::devpathOf(directory)));
  unit.sysfs.removeAttribute(directory, "subsystem");
  unit.sysfs.makeDirectory(directory + "/subsystem");
  EXPECT_EQ(saidOfAdding(directory), support::ignoredEvent(support::devpathOf(directory)));
}

}  // namespace
