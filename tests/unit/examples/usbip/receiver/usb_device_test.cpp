#include "examples/usbip/receiver/usb_device.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "sim/files.h"
#include "support/named_case.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "unit/examples/usbip/receiver/device_files.h"

namespace {

using usbip::Speed;
using usbip::UsbDevice;

class UsbDeviceFiles : public testing::Test {
 protected:
  support::TemporaryDirectory tree;
  DeviceFiles files{tree / "pci0000:00/usb1/1-2"};
  const std::string directory = files.directory();
};

TEST_F(UsbDeviceFiles, SayWhatIsOffered) {
  const UsbDevice device(directory);
  EXPECT_EQ(device.offer().busId, "1-2");
  EXPECT_EQ(device.offer().devId, 0x10007U);
  EXPECT_EQ(device.offer().speed, Speed::high);
  EXPECT_EQ(std::string(device.offer().descriptor.begin(), device.offer().descriptor.end()),
            sim::readFile(files.pathTo("descriptors")).substr(0, 18));
  EXPECT_EQ(device.text(), "1-2 (0627:0001, high speed)");
}

TEST_F(UsbDeviceFiles, AreFoundThroughALink) {
  std::filesystem::create_symlink(directory, tree / "link");
  const UsbDevice device(tree / "link");
  EXPECT_EQ(device.busId(), "1-2");
  EXPECT_EQ(device.directory(), directory);
}

TEST_F(UsbDeviceFiles, OfAHubAreRefusedWithTheirOwnStatus) {
  files.write("bDeviceClass", "09\n");
  const auto refusal = support::caught<usbip::CannotBeExported>([&] { UsbDevice{directory}; });
  EXPECT_EQ(refusal.status, 5);
  EXPECT_EQ(refusal.message, "1-2 is a hub, and hubs are not exported");
}

TEST_F(UsbDeviceFiles, OfADeviceFromAnotherMachineAreRefusedWithTheirOwnStatus) {
  const DeviceFiles borrowed(tree / "platform/vhci_hcd.0/usb3/3-1");
  const auto refusal = support::caught<usbip::CannotBeExported>([&] { UsbDevice{borrowed.directory()}; });
  EXPECT_EQ(refusal.status, 5);
  EXPECT_EQ(refusal.message, "3-1 comes from another machine, and is not exported again");
}

TEST_F(UsbDeviceFiles, AreMissingWhereThereIsNoDevice) {
  EXPECT_EQ(support::contextThrownBy([&] { UsbDevice{tree / "1-9"}; }), "realpath(" + (tree / "1-9") + ")");
}

TEST_F(UsbDeviceFiles, AreMissingOfAnInterface) {
  files.remove("bDeviceClass");
  EXPECT_EQ(support::contextThrownBy([&] { UsbDevice{directory}; }),
            "open(\"" + directory + "/bDeviceClass\")");
}

TEST_F(UsbDeviceFiles, NeedAWholeDeviceDescriptor) {
  files.write("descriptors", std::string(17, 1));
  EXPECT_THROW(UsbDevice{directory}, ulx::FileDescriptor::EndOfFile);
}

TEST_F(UsbDeviceFiles, NeedNumbers) {
  files.write("busnum", "one\n");
  EXPECT_EQ(support::caught<ulx::StrException>([&] { UsbDevice{directory}; }).message,
            directory + "/busnum has no number in it");
}

TEST_F(UsbDeviceFiles, HaveNoNumberWhileTheKernelResetsTheDevice) {
  files.write("devnum", "0\n");
  EXPECT_EQ(support::caught<ulx::StrException>([&] { UsbDevice{directory}; }).message,
            "the kernel is resetting it");
}

TEST_F(UsbDeviceFiles, NeedAKnownSpeed) {
  files.write("speed", "unknown\n");
  EXPECT_EQ(support::caught<ulx::StrException>([&] { UsbDevice{directory}; }).message,
            "its speed is not known: unknown");
}

struct SpeedText : support::NamedCase {
  std::string text;
  Speed speed;
};

class UsbDeviceSpeed : public UsbDeviceFiles, public testing::WithParamInterface<SpeedText> {};

TEST_P(UsbDeviceSpeed, IsThatOfItsText) {
  files.write("speed", GetParam().text + "\n");
  EXPECT_EQ(UsbDevice(directory).offer().speed, GetParam().speed);
}

INSTANTIATE_TEST_SUITE_P(Each, UsbDeviceSpeed,
                         testing::Values(SpeedText{{"Low"}, "1.5", Speed::low},
                                         SpeedText{{"Full"}, "12", Speed::full},
                                         SpeedText{{"High"}, "480", Speed::high},
                                         SpeedText{{"Super"}, "5000", Speed::super},
                                         SpeedText{{"SuperPlus"}, "10000", Speed::superPlus},
                                         SpeedText{{"SuperPlusByTwoLanes"}, "20000", Speed::superPlus}),
                         testing::PrintToStringParamName());

class UsbDevicePresence : public UsbDeviceFiles {
 protected:
  UsbDevice device{directory};
};

TEST_F(UsbDevicePresence, LastsWhileItIsPluggedIn) {
  EXPECT_TRUE(device.isThere());
}

TEST_F(UsbDevicePresence, EndsWithItsDirectory) {
  files.removeAll();
  EXPECT_FALSE(device.isThere());
}

TEST_F(UsbDevicePresence, IsNotThatOfAnotherDeviceAtItsPlace) {
  std::filesystem::rename(directory, directory + "-gone");
  const DeviceFiles successor(directory);
  EXPECT_FALSE(device.isThere());
}

// Its number is 0 then.
TEST_F(UsbDevicePresence, LastsWhileTheKernelResetsTheDevice) {
  files.write("devnum", "0\n");
  EXPECT_TRUE(device.isThere());
}

}  // namespace
