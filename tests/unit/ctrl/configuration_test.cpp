#include "ctrl/configuration.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

#include "ctrl/configuration_keys.h"
#include "sim/contract.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/private_world.h"

namespace {

void configure(const std::string& content) {
  sim::writeFile(configurationPath, content);
}

void expectNone() {
  EXPECT_EQ(getConfigString("usb:debug"), nullptr);
  EXPECT_EQ(getConfigString("usb:debug", "none"), nullptr) << "whatever the fallback";
  EXPECT_TRUE(getConfigBool("usb:hid_only", true));
  EXPECT_FALSE(getConfigBool("usb:hid_only", false));
  EXPECT_EQ(configDictionary(), nullptr);
}

/** How often the configuration is reported as one that cannot be loaded, while it is loaded anew. */
std::ptrdiff_t reportsOfALoad() {
  requestConfigReload();
  const support::Lines messages = support::logDuring([] {
    getConfigBool("usb:hid_only", false);
    getConfigString("usb:debug");
  });
  return std::count(messages.begin(), messages.end(), contract::error::cannotLoadConfig(configurationPath));
}

void expectReported() {
  EXPECT_EQ(reportsOfALoad(), 1);
  expectNone();
  EXPECT_EQ(reportsOfALoad(), 1) << "at the next load";
}

const std::string refusing = "[usb]\ndebug = ctrl\nhid_only = 1\n";

using ConfigurationFault = support::PrivateWorld;
using ConfigurationKeys = support::PrivateWorld;
using ConfigurationFile = support::PrivateWorld;
using ConfigurationReload = support::PrivateWorld;

TEST_F(ConfigurationKeys, HaveTheirTextOrTheFallback) {
  configure("[usb]\ndebug = ctrl,scsi\n");
  EXPECT_STREQ(getConfigString("usb:debug"), "ctrl,scsi");
  EXPECT_STREQ(getConfigString("usb:debug", "none"), "ctrl,scsi");
  EXPECT_EQ(getConfigString("usb:classes"), nullptr);
  EXPECT_STREQ(getConfigString("usb:classes", "all"), "all");
}

TEST_F(ConfigurationKeys, AreTakenAsTheyAre) {
  configure("[usb]\n%s%n = text\n");
  EXPECT_STREQ(getConfigString("usb:%s%n"), "text");
  EXPECT_EQ(getConfigString("usb:%d", nullptr), nullptr);
  EXPECT_FALSE(getConfigBool("usb:%d%s", false));
}

TEST_F(ConfigurationKeys, MayBeSwitchesWhichHaveTheFallbackWhereTheyAreNeitherOnNorOff) {
  configure("[usb]\na = 1\nb = yes\nc = True\nd = 0\ne = no\nf = False\ng = perhaps\n");
  for (const char* on : {"usb:a", "usb:b", "usb:c"}) {
    EXPECT_TRUE(getConfigBool(on, false)) << on;
  }
  for (const char* off : {"usb:d", "usb:e", "usb:f"}) {
    EXPECT_FALSE(getConfigBool(off, true)) << off;
  }
  for (const char* neither : {"usb:g", "usb:absent"}) {
    EXPECT_TRUE(getConfigBool(neither, true)) << neither;
    EXPECT_FALSE(getConfigBool(neither, false)) << neither;
  }
}

TEST_F(ConfigurationFile, MayBeAbsent) {
  expectNone();
}

TEST_F(ConfigurationFile, IsAsAbsentWhereItCannotBeRead) {
  configure("[usb]\ndebug = ctrl\nhid_only = 1\n");
  std::filesystem::permissions(configurationPath, std::filesystem::perms::none);
  support::inChild([] {
    support::dropPrivileges();
    expectNone();
  });
}

TEST_F(ConfigurationFile, IsAsAbsentWhereADirectoryIs) {
  std::filesystem::create_directories(configurationPath);
  expectNone();
}

TEST_F(ConfigurationFault, IsNoneInAFileThatIsMissingOrLoaded) {
  EXPECT_EQ(reportsOfALoad(), 0);
  for (const char* target : {"/missing/quor.conf", "/dev/null/quor.conf"}) {
    std::filesystem::create_symlink(target, configurationPath);
    EXPECT_EQ(reportsOfALoad(), 0) << target;
    std::filesystem::remove(configurationPath);
  }
  configure("");
  EXPECT_EQ(reportsOfALoad(), 0);
}

TEST_F(ConfigurationFault, IsABadLine) {
  configure(refusing + "nonsense\n");
  expectReported();
  configure(refusing + "nonsense\nmore nonsense\n" + std::string(3000, 'x'));
  expectReported();
}

TEST_F(ConfigurationFault, IsADirectoryInItsPlace) {
  std::filesystem::create_directories(configurationPath);
  expectReported();
}

TEST_F(ConfigurationFault, IsALinkToItself) {
  std::filesystem::create_symlink(configurationPath, configurationPath);
  expectReported();
}

TEST_F(ConfigurationFault, IsAFileThatMayNotBeRead) {
  configure(refusing);
  std::filesystem::permissions(configurationPath, std::filesystem::perms::none);
  support::inChild([] {
    support::dropPrivileges();
    expectReported();
  });
}

TEST_F(ConfigurationFault, IsADirectoryThatMayNotBeEntered) {
  configure(refusing);
  std::filesystem::permissions("/vel", std::filesystem::perms::none);
  support::inChild([] {
    support::dropPrivileges();
    expectReported();
  });
}

TEST_F(ConfigurationFault, IsAFileThatCannotBeReadToItsEnd) {
  std::filesystem::create_symlink("/proc/self/mem", configurationPath);  // its first byte cannot be read
  expectReported();
}

TEST_F(ConfigurationFault, IsALockThatIsRefused) {
  configure(refusing);
  support::inChildWithFailing({.number = SYS_flock, .error = ENOLCK}, expectReported);
}

// A loader by name needs more than one over an open stream.
TEST_F(ConfigurationFault, IsReportedWhereverDescriptorsAreTooFewToLoad) {
  configure(refusing);
  for (int count = 0; count < 4; ++count) {
    support::inChild([count] {
      const support::CapturedStandardError captured;
      support::limitFurtherDescriptors(count);
      requestConfigReload();
      const bool loaded = configDictionary() != nullptr;
      const support::Lines messages = captured.messages();
      EXPECT_EQ(
          std::count(messages.begin(), messages.end(), contract::error::cannotLoadConfig(configurationPath)),
          loaded ? 0 : 1)
          << count;
      EXPECT_TRUE(count != 0 || !loaded);
      EXPECT_TRUE(count != 3 || loaded);
    });
  }
}

TEST_F(ConfigurationFault, IsReportedWhereItIsNotLoadedWithoutProc) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer needs /proc";
#endif
  configure(refusing);
  support::inPrivateWorld([] {
    configure(refusing);
    ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
    const auto reports = reportsOfALoad();
    EXPECT_EQ(reports, configDictionary() == nullptr ? 1 : 0);
  });
}

TEST_F(ConfigurationReload, IsNoneUntilItIsRequestedAndThenOne) {
  configure("[usb]\ndebug = ctrl\nhid_only = 0\n");
  const ConfigDictionary* first = configDictionary();
  ASSERT_NE(first, nullptr);
  configure("[usb]\ndebug = scsi\nhid_only = 1\n");
  EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
  EXPECT_EQ(configDictionary(), first);
  requestConfigReload();
  EXPECT_STREQ(getConfigString("usb:debug"), "scsi");
  EXPECT_TRUE(getConfigBool("usb:hid_only", false));
  configure("[usb]\ndebug = keyboard\n");
  EXPECT_STREQ(getConfigString("usb:debug"), "scsi");
}

TEST_F(ConfigurationReload, DoesNotAskWhetherTheFileLooksUnchanged) {
  configure("[usb]\nhid_only = 0\n");
  const auto written = std::filesystem::last_write_time(configurationPath);
  EXPECT_FALSE(getConfigBool("usb:hid_only", true));
  configure("[usb]\nhid_only = 1\n");
  std::filesystem::last_write_time(configurationPath, written);
  requestConfigReload();
  EXPECT_TRUE(getConfigBool("usb:hid_only", false));
}

TEST_F(ConfigurationReload, SeesAFileThatHasComeOrGone) {
  expectNone();
  configure("[usb]\ndebug = ctrl\n");
  expectNone();
  requestConfigReload();
  EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
  std::filesystem::remove(configurationPath);
  requestConfigReload();
  expectNone();
}

TEST_F(ConfigurationReload, BringsBackWhatWasReleased) {
  releaseConfig();
  configure("[usb]\ndebug = ctrl\n");
  EXPECT_STREQ(getConfigString("usb:debug"), "ctrl") << "there was nothing to release";
  releaseConfig();
  releaseConfig();
  expectNone();
  requestConfigReload();
  EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
}

}  // namespace
