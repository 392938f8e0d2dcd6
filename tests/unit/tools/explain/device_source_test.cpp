#include "tools/explain/device_source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "sim/device_recording.h"
#include "sim/files.h"
#include "sim/sysfs.h"
#include "support/named_case.h"
#include "support/private_world.h"
#include "tools/explain/error.h"
#include "ulx/file_descriptor.h"

namespace {

using explain::Device;

class DeviceSource : public support::PrivateWorld {
 protected:
  sim::Sysfs sysfs_;
  std::string device_ = sysfs_.add(sim::UsbDevice{});

  static std::string faultOf(const std::string& argument) {
    try {
      static_cast<void>(explain::devicesNamed(argument));
    } catch (const explain::Error& error) {
      return error.what();
    }
    return "none";
  }
};

TEST_F(DeviceSource, IsADirectoryOfSysfsByItsNameOrAnyPath) {
  const std::vector<std::string> names{"1-1", "/sys/bus/usb/devices/1-1", device_ + "/../1-1"};
  for (const std::string& argument : names) {
    const std::vector<Device> devices = explain::devicesNamed(argument);
    ASSERT_EQ(devices.size(), 1U) << argument;
    EXPECT_EQ(devices[0].path, device_);
    EXPECT_EQ(devices[0].source, argument);
    EXPECT_FALSE(devices[0].tree->infersSpeed());
  }
}

TEST_F(DeviceSource, IsADeviceThatTheKernelHasNotShownYet) {
  sysfs_.removeAttribute(device_, "uevent");
  EXPECT_EQ(explain::devicesNamed("1-1").size(), 1U);
}

TEST_F(DeviceSource, IsAFolderOfARecordingWithAllThatWasPlugged) {
  const std::string folder = sim::recordingsFolder() + "/hub-hub-kbd";
  const std::vector<Device> devices = explain::devicesNamed(folder);
  ASSERT_EQ(devices.size(), 3U);
  EXPECT_EQ(devices[0].path, sim::loadRecording("hub-hub-kbd").directory);
  EXPECT_EQ(devices[0].source, folder);
}

TEST_F(DeviceSource, IsAFileOfDescriptors) {
  sim::writeFile("/sim/descriptors", sim::keyboardDescriptors());
  const std::vector<Device> devices = explain::devicesNamed("/sim/descriptors");
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices[0].path, "/sim/descriptors");
  EXPECT_TRUE(devices[0].tree->infersSpeed());
}

TEST_F(DeviceSource, IsAFifoOfDescriptors) {
  ASSERT_EQ(mkfifo("/sim/fifo", S_IRUSR | S_IWUSR), 0);
  std::jthread writer([] { sim::writeFile("/sim/fifo", sim::keyboardDescriptors()); });
  EXPECT_EQ(faultOf("/sim/fifo"), "none");
  const ulx::FileDescriptor reader("/sim/fifo",
                                   O_RDONLY | O_NONBLOCK);  // for a writer that still waits for one
  writer.join();
}

TEST_F(DeviceSource, IsRatherTheNameOfADeviceThanAFile) {
  sim::writeFile("/sim/1-1", sim::keyboardDescriptors());
  sim::writeFile("/sim/1-2", sim::keyboardDescriptors());
  std::filesystem::current_path("/sim");
  EXPECT_EQ(explain::devicesNamed("1-1").at(0).path, device_);
  EXPECT_EQ(explain::devicesNamed("./1-1").at(0).path, "./1-1");
  EXPECT_EQ(explain::devicesNamed("1-2").at(0).path, "1-2");
}

TEST_F(DeviceSource, IsTheFolderThatOneIsIn) {
  std::filesystem::current_path(sim::recordingsFolder() + "/audio");
  EXPECT_EQ(explain::devicesNamed(".").at(0).source, ".");
}

TEST_F(DeviceSource, IsEveryDeviceThatIsPlugged) {
  sysfs_.add(sim::HiddevNode{.usbDevice = device_});
  const std::vector<Device> devices = explain::devicesPlugged();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices[0].path, device_);
  EXPECT_EQ(devices[0].source, "");
}

TEST_F(DeviceSource, IsNoPartOfADevice) {
  const std::string node = sysfs_.add(sim::HiddevNode{.usbDevice = device_});
  sysfs_.writeAttribute(device_ + "/1-1:1.0", "uevent", "DEVTYPE=usb_interface\n");
  EXPECT_EQ(faultOf(device_ + "/1-1:1.0"), device_ + "/1-1:1.0: no device, but a part of one: ask for 1-1");
  EXPECT_EQ(faultOf(node), node + ": no device, but a part of one: ask for 1-1");
}

TEST_F(DeviceSource, IsNothingElse) {
  EXPECT_EQ(faultOf("1-9"), "1-9: there is no such device, folder or file");
  EXPECT_EQ(faultOf("/sim/none"), "/sim/none: there is no such device, folder or file");
  EXPECT_EQ(faultOf("/sys/bus"), "/sys/bus: neither a USB device nor a recorded one");
  EXPECT_EQ(faultOf("/dev/null"), "/dev/null: neither a directory nor a file");
}

TEST_F(DeviceSource, IsNoRecordingThatCannotBeRead) {
  sim::writeFile("/sim/broken/about.txt", "a device\nspeed 12\n");
  EXPECT_EQ(faultOf("/sim/broken"), "/sim/broken/about.txt:2: expected KEY: VALUE");
}

TEST_F(DeviceSource, IsNoListWhereThereIsNoUsb) {
  std::filesystem::remove_all("/sys/bus/usb");
  try {
    static_cast<void>(explain::devicesPlugged());
    FAIL() << "there is a list";
  } catch (const explain::Error& error) {
    EXPECT_STREQ(error.what(),
                 "no USB devices can be listed here: No such file or directory while "
                 "opendir(/sys/bus/usb/devices)");
  }
}

}  // namespace
