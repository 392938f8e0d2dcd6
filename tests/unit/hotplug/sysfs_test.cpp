#include "hotplug/sysfs.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/device_directory.h"
#include "support/failing_call.h"
#include "support/thrown.h"

namespace {

namespace fs = std::filesystem;

class SysfsAttributes : public testing::Test, protected support::DeviceDirectory {};

using SysfsTexts = SysfsAttributes;
using SysfsNumbers = SysfsAttributes;
using SysfsFallbacks = SysfsAttributes;
using SysfsDevices = SysfsAttributes;

TEST_F(SysfsTexts, LoseOneNewlineAtTheirEnd) {
  write("a", "09\n");
  EXPECT_EQ(readAttribute(path(), "a"), "09");
  write("a", "a\n\n");
  EXPECT_EQ(readAttribute(path(), "a"), "a\n");
  write("a", "\n");
  EXPECT_EQ(readAttribute(path(), "a"), "");
}

TEST_F(SysfsTexts, AreTakenAsTheyAreOtherwise) {
  for (const std::string text : {"", "09", " a \t", " a ", "a\r", "\na", "a\nb"}) {
    write("a", text);
    EXPECT_EQ(readAttribute(path(), "a"), text);
    write("a", text + "\n");
    EXPECT_EQ(readAttribute(path(), "a"), text);
  }
}

TEST_F(SysfsTexts, MayHoldAnyByte) {
  const std::string text("a\0b\xff\x80", 5);
  write("a", text + "\n");
  EXPECT_EQ(readAttribute(path(), "a"), text);
}

TEST_F(SysfsTexts, AreReadWholeHoweverLong) {
  const std::string text(100'000, 'x');
  write("a", text + "\n");
  EXPECT_EQ(readAttribute(path(), "a"), text);
}

TEST(SysfsFiles, AreReadWhateverSizeTheyClaim) {
  ASSERT_EQ(fs::file_size("/proc/sys/kernel/ostype"), 0U);
  EXPECT_EQ(readAttribute("/proc/sys/kernel", "ostype"), "Linux");
}

TEST_F(SysfsTexts, AreJoinedToTheirDirectoryAsTheyAre) {
  write("uevent", "MAJOR=189\n");
  EXPECT_EQ(readAttribute(path(), "/uevent"), "MAJOR=189");
  EXPECT_EQ(readAttribute(path() + "/", "uevent"), "MAJOR=189");
}

TEST_F(SysfsTexts, ThrowWhatFailsWhenTheFileIsReached) {
  EXPECT_EQ(
      support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)readAttribute(path(), "a"); }),
      "open(\"" + path() + "/a\")");
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
  EXPECT_EQ(readBinaryAttribute(path(), "descriptors"), content);
  EXPECT_EQ(support::contextThrownBy([this] { (void)readBinaryAttribute(path(), "a"); }),
            "open(\"" + path() + "/a\")");
}

TEST_F(SysfsNumbers, AreHexadecimal) {
  write("a", "09\n");
  EXPECT_EQ(readHexAttribute(path(), "a"), 9U);
  write("a", "ff");
  EXPECT_EQ(readHexAttribute(path(), "a"), 255U);
  write("a", "EF\n");
  EXPECT_EQ(readHexAttribute(path(), "a"), 0xEFU);
  write("a", "10\n");
  EXPECT_EQ(readHexAttribute(path(), "a"), 16U);
}

TEST_F(SysfsNumbers, MayHaveBlanksAndAPrefixBeforeThem) {
  write("a", "0x1F\n");
  EXPECT_EQ(readHexAttribute(path(), "a"), 31U);
  write("a", " \t0X1f\n");
  EXPECT_EQ(readHexAttribute(path(), "a"), 31U);
}

TEST_F(SysfsNumbers, EndAtTheFirstOtherCharacter) {
  write("a", "9 8\n");
  EXPECT_EQ(readHexAttribute(path(), "a"), 9U);
  write("a", "1g\n");
  EXPECT_EQ(readHexAttribute(path(), "a"), 1U);
}

TEST_F(SysfsNumbers, AreZeroWhereThereIsNone) {
  for (const char* text : {"", "\n", "xyz", "-", "g1"}) {
    write("a", text);
    EXPECT_EQ(readHexAttribute(path(), "a"), 0U) << text;
  }
}

TEST_F(SysfsNumbers, ThrowWhatFailsWhenTheFileIsReached) {
  EXPECT_EQ(
      support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)readHexAttribute(path(), "a"); }),
      "open(\"" + path() + "/a\")");
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
  support::inChild([this] {
    write("product", "Stick\n");
    fs::permissions(path() + "/product", fs::perms::none);
    support::dropPrivileges();
    EXPECT_EQ(support::contextThrownBy([this] { (void)readAttributeOr(path(), "product", "fallback"); }),
              "open(\"" + path() + "/product\")");
  });
}

TEST_F(SysfsFallbacks, AreNotTakenWhereItCannotBeToldWhetherTheFileIsThere) {
  fs::create_symlink("loop", path() + "/loop");
  EXPECT_EQ(support::contextThrownBy([this] { (void)readAttributeOr(path(), "loop", "fallback"); }),
            "stat(" + path() + "/loop)");
}

// Between the look at the file and its opening, or between its opening and its reading.
TEST_F(SysfsFallbacks, AreTakenForADeviceThatGoesMeanwhile) {
  for (const auto& [call, error] : {std::pair<long, int>{SYS_openat, ENOENT}, {SYS_read, ENODEV}}) {
    support::inChild([this, call = call, error = error] {
      write("product", "Stick\n");
      if (!support::failSystemCall(call, error)) {
        GTEST_SKIP() << "no seccomp filters here";
      }
      EXPECT_EQ(readAttributeOr(path(), "product", "fallback"), "fallback");
    });
  }
}

TEST_F(SysfsFallbacks, AreNotTakenForAnyOtherError) {
  support::inChild([this] {
    write("product", "Stick\n");
    if (!support::failSystemCall(SYS_read, EIO)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    EXPECT_EQ(support::contextThrownBy<ulx::IOError>(
                  [this] { (void)readAttributeOr(path(), "product", "fallback"); }),
              "read(\"" + path() + "/product\")");
  });
}

TEST_F(SysfsDevices, AreNamedByTheirProductText) {
  write("product", "USB Stick \n");
  EXPECT_EQ(readDeviceName(path()), "USB Stick ");
  write("product", "\n");
  EXPECT_EQ(readDeviceName(path()), "");
}

TEST_F(SysfsDevices, AreUnNamedWithoutAProductText) {
  EXPECT_EQ(readDeviceName(path()), "un-named device");
}

TEST_F(SysfsDevices, AreOfHighSpeedAtExactly480) {
  write("speed", "480\n");
  EXPECT_TRUE(isHighSpeedDevice(path()));
  for (const char* other : {"12\n", "1.5\n", "5000\n", "4800\n", "48\n", "480 \n", " 480\n", "480\n\n", ""}) {
    write("speed", other);
    EXPECT_FALSE(isHighSpeedDevice(path())) << other;
  }
}

TEST_F(SysfsDevices, WithoutASpeedThrow) {
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)isHighSpeedDevice(path()); }),
            "open(\"" + path() + "/speed\")");
}

TEST(HiddevPath, IsOneWhoseLastComponentBeginsSo) {
  for (const char* path :
       {"/sys/devices/a/usb/hiddev0", "/a/hiddev12", "/a/hiddev", "hiddev0", "hiddevice"}) {
    EXPECT_TRUE(isHiddevPath(path)) << path;
  }
}

TEST(HiddevPath, IsNoOther) {
  for (const char* path : {"", "/", "hid", "/a/hid", "/a/usbhid", "/a/hidde", "/a/Hiddev0", "/hiddev0/a",
                           "/hiddev0/", "/a/xhiddev0"}) {
    EXPECT_FALSE(isHiddevPath(path)) << path;
  }
}

}  // namespace
