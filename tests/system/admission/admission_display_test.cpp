#include <gtest/gtest.h>

#include "system/support/admission_check.h"

namespace {

using AdmissionDisplay = AdmissionCheck;

/** Refused by default; its product file holds exactly this. */
std::string addSpeakerWithProductFile(sim::Unit& unit, const std::string& content) {
  std::string directory = unit.sysfs.add(isochronousDevice());
  unit.sysfs.writeAttribute(directory, "product", content);
  return directory;
}

const std::string isochronousPhrase = " is not supported because it has isochronous endpoints\n";

}  // namespace

TEST_F(AdmissionDisplay, GetsEachLineInOneWrite) {
  startWith("");
  decide(isochronousDevice());
  EXPECT_TRUE(unit.display.keepsBoundaries());  // what the other tests of the display rely on
}

TEST_F(AdmissionDisplay, NamesADeviceWithoutProductTextAsUnnamed) {
  startWith("smartcard = true\nblock_mass_storage = true\n", "full");
  sim::UsbDevice device = deviceOfClass(sim::usb_class::smartCard);
  device.product.reset();
  EXPECT_EQ(decide(device), refusedWith("un-named devicelocal smartcard security\n"));
  device = deviceOfClass(sim::usb_class::massStorage);
  device.name = "1-2";
  device.product.reset();
  EXPECT_EQ(decide(device),
            refusedWith("un-named device configuration blocked due to mass storage capability\n"));
  device = isochronousDevice();
  device.name = "1-3";
  device.product.reset();
  EXPECT_EQ(decide(device),
            refusedWith("un-named device is not supported because it has isochronous endpoints\n"));
  device = highSpeedDevice();
  device.name = "1-4";
  device.product.reset();
  EXPECT_EQ(decide(device),
            refusedWith("High speed un-named device is not supported on a full speed only port\n"));
}

TEST_F(AdmissionDisplay, NamesADeviceWithoutProductTextAsUnnamedWhereOnlyHidIsAllowed) {
  startWith("hid_only = true\n");
  sim::UsbDevice device = deviceOfClass(sim::usb_class::vendor);
  device.product.reset();
  EXPECT_EQ(decide(device),
            refusedWith("un-named device is not supported because it has non-HID endpoints\n"));
}

TEST_F(AdmissionDisplay, ShowsAnEmptyNameAsNothing) {
  startWith("");
  unit.uevents.add(addSpeakerWithProductFile(unit, "\n").substr(4));
  EXPECT_EQ(decision(), refusedWith(isochronousPhrase));
}

TEST_F(AdmissionDisplay, ShowsTheNameOfAnEmptyFileAsNothing) {
  startWith("");
  unit.uevents.add(addSpeakerWithProductFile(unit, "").substr(4));
  EXPECT_EQ(decision(), refusedWith(isochronousPhrase));
}

TEST_F(AdmissionDisplay, ShowsBlanksAroundANameAndStrangeLettersAsTheyAre) {
  startWith("hid_only = true\n");
  EXPECT_EQ(decide(sim::DeviceRecording::load("made-odd-name")),
            refusedWith("  Gr\xc3\xbcn \xe2\x80\x9c"
                        "Disk\xe2\x80\x9d %s %n   is not supported because it has non-HID endpoints\n"));
}

TEST_F(AdmissionDisplay, ShowsALongNameWhole) {
  startWith("hid_only = true\n");
  std::string name;
  while (name.size() < 126) {
    name += "Long name ";
  }
  EXPECT_EQ(decide(sim::DeviceRecording::load("made-long-name")),
            refusedWith(name.substr(0, 126) + " is not supported because it has non-HID endpoints\n"));
}

TEST_F(AdmissionDisplay, RemovesOneNewlineOfTheNameOnly) {
  startWith("");
  unit.uevents.add(addSpeakerWithProductFile(unit, "Two\nLines\n\n").substr(4));
  EXPECT_EQ(decision(), refusedWith("Two\nLines\n" + isochronousPhrase));
}

TEST_F(AdmissionDisplay, ShowsTheNameOfAFileWithoutNewline) {
  startWith("");
  unit.uevents.add(addSpeakerWithProductFile(unit, "Bare").substr(4));
  EXPECT_EQ(decision(), refusedWith("Bare" + isochronousPhrase));
}

TEST_F(AdmissionDisplay, GetsNoLineForADeviceWhoseNameCannotBeRead) {
  startWith("");
  const std::string directory = unit.sysfs.add(isochronousDevice());
  unit.sysfs.removeAttribute(directory, "product");
  unit.sysfs.makeDirectory(directory + "/product");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), refusedSilently);
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] Exception while processing uevent; ignored."));
}

TEST_F(AdmissionDisplay, IsNotNeededForARefusal) {
  unit.display.closeReader();
  unit.display.removeFifo();
  startWith("");
  EXPECT_EQ(decide(isochronousDevice()), refusedSilently);
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] this is an unsupported USB device"));
}

TEST_F(AdmissionDisplay, ThatComesAfterTheStartStaysDark) {
  unit.display.closeReader();
  unit.display.removeFifo();
  startWith("");
  unit.display.makeFifo();
  unit.display.openReader();
  EXPECT_EQ(decide(isochronousDevice()), refusedSilently);
}

TEST_F(AdmissionDisplay, ThatTakesNothingMoreDoesNotHoldUpTheRefusal) {
  startWith("");
  unit.display.fill();
  unit.plug(isochronousDevice());
  unit.settle();
  unit.display.drain();
  EXPECT_EQ(decide(named(isochronousDevice(), "1-2", "Second")), refusedWith("Second" + isochronousPhrase));
}

TEST_F(AdmissionDisplay, WhoseReaderHasGoneDoesNotEndTheDaemon) {
  startWith("");
  unit.display.closeReader();
  EXPECT_EQ(decide(isochronousDevice()), refusedSilently);
  EXPECT_EQ(decide(named(mouse(), "1-2", "Mouse")), admittedSilently);
}
