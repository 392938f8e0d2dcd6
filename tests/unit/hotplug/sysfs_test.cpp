#include "hotplug/sysfs.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "sim/contract.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/device_directory.h"
#include "support/thrown.h"

namespace {

namespace fs = std::filesystem;

class Sysfs : public testing::Test, protected support::DeviceDirectory {};

using SysfsTexts = Sysfs;
using SysfsNumbers = Sysfs;
using SysfsFallbacks = Sysfs;
using SysfsDevices = Sysfs;

TEST_F(SysfsTexts, LoseOneNewlineAtTheirEndAndNothingElse) {
  const std::string anyBytes("a\0b\xff\x80", 5);
  for (const std::string& text :
       {std::string(), std::string("09"), std::string(" a \t"), std::string(" a "), std::string("a\r"),
        std::string("\na"), std::string("a\nb"), anyBytes, std::string(100'000, 'x')}) {
    write("a", text);
    EXPECT_EQ(readAttribute(path(), "a"), text);
    write("a", text + "\n");
    EXPECT_EQ(readAttribute(path(), "a"), text);
    write("a", text + "\n\n");
    EXPECT_EQ(readAttribute(path(), "a"), text + "\n");
  }
}

TEST_F(SysfsTexts, AreReadFromFilesWhateverSizeTheyClaim) {
  ASSERT_EQ(fs::file_size("/proc/sys/kernel/ostype"), 0U);
  EXPECT_EQ(readAttribute("/proc/sys/kernel", "ostype"), "Linux");
}

TEST_F(SysfsTexts, AreJoinedToTheirDirectoryAsTheyAre) {
  write("uevent", "MAJOR=189\n");
  EXPECT_EQ(readAttribute(path(), "/uevent"), "MAJOR=189");
  EXPECT_EQ(readAttribute(path() + "/", "uevent"), "MAJOR=189");
}

TEST_F(SysfsTexts, ThrowWhatFailsWhenTheFileIsReached) {
  const std::string opening = "open(\"" + path() + "/a\")";
  EXPECT_EQ(
      support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)readAttribute(path(), "a"); }),
      opening);
  EXPECT_EQ(
      support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)readHexAttribute(path(), "a"); }),
      opening);
  EXPECT_EQ(support::contextThrownBy([this] { (void)SysfsDevice(path()).content("a"); }), opening);
  fs::create_directory(path() + "/d");
  EXPECT_EQ(support::contextThrownBy([this] { (void)readAttribute(path(), "d"); }),
            "read(\"" + path() + "/d\")");
}

TEST_F(SysfsTexts, LeaveTheirFileClosed) {
  write("a", "text\n");
  const auto before = support::openDescriptors();
  (void)readAttribute(path(), "a");
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST_F(SysfsTexts, KeepTheirNewlineWhenTheyAreBinary) {
  const std::string content("\x12\x01\0\n", 4);
  write("descriptors", content);
  EXPECT_EQ(SysfsDevice(path()).content("descriptors"), content);
}

TEST_F(SysfsNumbers, AreHexadecimalAndZeroWhereThereIsNone) {
  const std::pair<const char*, unsigned long> texts[] = {
      {"09\n", 9}, {"ff", 255}, {"EF\n", 239}, {"10\n", 16}, {"0x1F\n", 31}, {" \t0X1f\n", 31}, {"9 8\n", 9},
      {"1g\n", 1}, {"", 0},     {"\n", 0},     {"xyz", 0},   {"-", 0},       {"g1", 0}};
  for (const auto& [text, number] : texts) {
    write("a", text);
    EXPECT_EQ(readHexAttribute(path(), "a"), number) << text;
  }
}

TEST_F(SysfsFallbacks, AreNotTakenWhereTheFileIsThere) {
  write("product", "Stick\n");
  EXPECT_EQ(readAttributeOr(path(), "product", "fallback"), "Stick");
  write("product", "");
  EXPECT_EQ(readAttributeOr(path(), "product", "fallback"), "");
}

TEST_F(SysfsFallbacks, AreTakenWhereNoFileIs) {
  EXPECT_EQ(readAttributeOr(path(), "product", "fallback"), "fallback");
  EXPECT_EQ(readAttributeOr(path() + "/gone", "product", "fallback"), "fallback");
  write("product", "Stick\n");
  EXPECT_EQ(readAttributeOr(path() + "/product", "product", "fallback"), "fallback");
  fs::create_symlink("gone", path() + "/link");
  EXPECT_EQ(readAttributeOr(path(), "link", "fallback"), "fallback");
}

TEST_F(SysfsFallbacks, AreNotTakenForAFileThatCannotBeRead) {
  write("product", "Stick\n");
  fs::permissions(path() + "/product", fs::perms::none);
  support::inChild([this] {
    support::dropPrivileges();
    EXPECT_EQ(support::contextThrownBy([this] { (void)readAttributeOr(path(), "product", "fallback"); }),
              "open(\"" + path() + "/product\")");
  });
}

TEST_F(SysfsFallbacks, AreNotTakenWhereItCannotBeKnownWhetherTheFileIsThere) {
  fs::create_symlink("loop", path() + "/loop");
  EXPECT_EQ(support::contextThrownBy([this] { (void)readAttributeOr(path(), "loop", "fallback"); }),
            "stat(" + path() + "/loop)");
}

// Between the look at the file and its opening, or between its opening and its reading.
TEST_F(SysfsFallbacks, AreTakenForADeviceThatGoesMeanwhile) {
  write("product", "Stick\n");
  for (const support::FailingCall& call : {support::FailingCall{SYS_openat, ENOENT}, {SYS_read, ENODEV}}) {
    support::inChildWithFailing(
        call, [this] { EXPECT_EQ(readAttributeOr(path(), "product", "fallback"), "fallback"); });
  }
}

TEST_F(SysfsFallbacks, AreNotTakenForAnyOtherError) {
  write("product", "Stick\n");
  support::inChildWithFailing({.number = SYS_read, .error = EIO}, [this] {
    EXPECT_EQ(support::contextThrownBy<ulx::IOError>(
                  [this] { (void)readAttributeOr(path(), "product", "fallback"); }),
              "read(\"" + path() + "/product\")");
  });
}

TEST_F(SysfsDevices, AreNamedByTheirProductText) {
  EXPECT_EQ(readDeviceName(path()), contract::display::unnamedDevice);
  write("product", "USB Stick \n");
  EXPECT_EQ(readDeviceName(path()), "USB Stick ");
  write("product", "\n");
  EXPECT_EQ(readDeviceName(path()), "");
}

TEST_F(SysfsDevices, AreOfHighSpeedAtExactly480) {
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)isHighSpeedDevice(path()); }),
            "open(\"" + path() + "/speed\")");
  write("speed", "480\n");
  EXPECT_TRUE(isHighSpeedDevice(path()));
  for (const char* other : {"12\n", "1.5\n", "5000\n", "4800\n", "48\n", "480 \n", " 480\n", "480\n\n", ""}) {
    write("speed", other);
    EXPECT_FALSE(isHighSpeedDevice(path())) << other;
  }
}

TEST(SysfsPath, IsAHiddevNodesWhereItsLastComponentBeginsSo) {
  for (const char* path :
       {"/sys/devices/a/usb/hiddev0", "/a/hiddev12", "/a/hiddev", "hiddev0", "hiddevice"}) {
    EXPECT_TRUE(isHiddevPath(path)) << path;
  }
  for (const char* path : {"", "/", "hid", "/a/hid", "/a/usbhid", "/a/hidde", "/a/Hiddev0", "/hiddev0/a",
                           "/hiddev0/", "/a/xhiddev0"}) {
    EXPECT_FALSE(isHiddevPath(path)) << path;
  }
}

}  // namespace
