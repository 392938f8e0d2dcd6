// Keyboards, where they have workers of their own. Those are started for hiddev nodes, which belong to the
// class "usbmisc" on this kernel rather than to "usb": the daemon does not take them for HID nodes.

#include <filesystem>

#include "kernel/guest/receiver_unit.h"
#include "sim/files.h"

namespace guest {
namespace {

class Keyboards : public ReceiverUnit {
 protected:
  static inline const Lines served{"--class=keyboard"};
};

TEST_F(Keyboards, HaveANodeOfAClassThatIsNotUsb) {
  desk.plug(keyboard(), highSpeedSocket(1));
  const std::string node = desk.events.waitFor(hidNodeAdded).directory;
  EXPECT_TRUE(node.ends_with("/usbmisc/hiddev0")) << node;
  EXPECT_EQ(std::filesystem::read_symlink(node + "/subsystem").filename(), "usbmisc");
  EXPECT_FALSE(std::filesystem::exists("/sys/class/usb"));
  EXPECT_TRUE(sim::readFile(node + "/uevent").ends_with("\nDEVNAME=usb/hiddev0\n"));
}

TEST_F(Keyboards, GetNoWorkerForSuchANodeNorAGenericOne) {
  start(served);
  plug(keyboard(), highSpeedSocket(1));
  const std::string node = desk.events.waitFor(hidNodeAdded).directory;
  settle();
  EXPECT_TRUE(hasMessage(contract::debug::keyboard));
  EXPECT_TRUE(hasMessage(contract::debug::event("add", devpathOf(node))));
  EXPECT_TRUE(hasMessage(contract::debug::subsystem("usbmisc")));
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Keyboards, GetNoWorkerAtTheStartEither) {
  desk.plug(keyboard(), highSpeedSocket(1));
  start(served);
  EXPECT_TRUE(hasMessage(contract::debug::keyboard));
  EXPECT_FALSE(hasMessage(contract::debug::coldpluggingKeyboards));
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Keyboards, AreAloneInThat) {
  start(served);
  const PluggedDevice device = plug(mouse(), highSpeedSocket(1));
  genericWorkerOf(device);
}

TEST_F(Keyboards, AreLeftToTheGenericWorkerWhereTheyAreNotServed) {
  start({"--class=scsi"});
  const PluggedDevice device = plug(keyboard(), highSpeedSocket(1));
  genericWorkerOf(device);
}

}  // namespace
}  // namespace guest
