#include "ctrl/configuration.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "sim/files.h"
#include "support/child.h"

namespace {

constexpr const char* path = "/vel/quor.conf";

TEST(Configuration, TellsTheTextOfAKey) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl,scsi\n");
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl,scsi");
    EXPECT_STREQ(getConfigString("usb:debug", "none"), "ctrl,scsi");
  });
}

TEST(Configuration, TellsTheFallbackWhereTheFileHasNoSuchKey) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    EXPECT_EQ(getConfigString("usb:classes"), nullptr);
    EXPECT_STREQ(getConfigString("usb:classes", "all"), "all");
  });
}

TEST(Configuration, TellsNoTextWhereThereIsNoFileWhateverTheFallback) {
  support::inPrivateWorld([] {
    EXPECT_EQ(getConfigString("usb:classes"), nullptr);
    EXPECT_EQ(getConfigString("usb:classes", "all"), nullptr);
    EXPECT_EQ(configDictionary(), nullptr);
  });
}

TEST(Configuration, TakesAKeyAsItIs) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\n%s%n = text\n");
    EXPECT_STREQ(getConfigString("usb:%s%n"), "text");
    EXPECT_EQ(getConfigString("usb:%d", nullptr), nullptr);
    EXPECT_FALSE(getConfigBool("usb:%d%s", false));
  });
}

TEST(Configuration, ReadsSwitches) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\na = 1\nb = yes\nc = True\nd = 0\ne = no\nf = False\n");
    for (const char* on : {"usb:a", "usb:b", "usb:c"}) {
      EXPECT_TRUE(getConfigBool(on, false)) << on;
    }
    for (const char* off : {"usb:d", "usb:e", "usb:f"}) {
      EXPECT_FALSE(getConfigBool(off, true)) << off;
    }
  });
}

TEST(Configuration, ASwitchThatIsNeitherOnNorOffHasTheFallback) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\nhid_only = perhaps\n");
    EXPECT_TRUE(getConfigBool("usb:hid_only", true));
    EXPECT_FALSE(getConfigBool("usb:hid_only", false));
  });
}

TEST(Configuration, ASwitchThatIsNotThereHasTheFallback) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\n");
    EXPECT_TRUE(getConfigBool("usb:hid_only", true));
    EXPECT_FALSE(getConfigBool("usb:hid_only", false));
  });
}

TEST(Configuration, EverySwitchHasTheFallbackWhereThereIsNoFile) {
  support::inPrivateWorld([] {
    EXPECT_TRUE(getConfigBool("usb:hid_only", true));
    EXPECT_FALSE(getConfigBool("usb:hid_only", false));
  });
}

TEST(Configuration, AFileThatCannotBeReadIsAsNoFile) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    std::filesystem::permissions(path, std::filesystem::perms::none);
    support::dropPrivileges();
    EXPECT_EQ(getConfigString("usb:debug", "none"), nullptr);
    EXPECT_TRUE(getConfigBool("usb:hid_only", true));
  });
}

TEST(Configuration, ADirectoryInThePlaceOfTheFileIsAsNoFile) {
  support::inPrivateWorld([] {
    std::filesystem::create_directories(path);
    EXPECT_EQ(getConfigString("usb:debug", "none"), nullptr);
    EXPECT_FALSE(getConfigBool("usb:hid_only", false));
  });
}

TEST(Configuration, IsReadAtTheFirstQueryAndKept) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    const ConfigDictionary* first = configDictionary();
    ASSERT_NE(first, nullptr);
    sim::writeFile(path, "[usb]\ndebug = scsi\n");
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
    EXPECT_EQ(configDictionary(), first);
  });
}

TEST(Configuration, IsReadAgainAfterAReloadWasRequested) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl\nhid_only = 0\n");
    EXPECT_FALSE(getConfigBool("usb:hid_only", true));
    sim::writeFile(path, "[usb]\ndebug = scsi\nhid_only = 1\n");
    requestConfigReload();
    EXPECT_STREQ(getConfigString("usb:debug"), "scsi");
    EXPECT_TRUE(getConfigBool("usb:hid_only", false));
  });
}

TEST(Configuration, IsReadAgainThoughTheFileLooksUnchanged) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\nhid_only = 0\n");
    const auto written = std::filesystem::last_write_time(path);
    EXPECT_FALSE(getConfigBool("usb:hid_only", true));
    sim::writeFile(path, "[usb]\nhid_only = 1\n");
    std::filesystem::last_write_time(path, written);
    requestConfigReload();
    EXPECT_TRUE(getConfigBool("usb:hid_only", false));
  });
}

TEST(Configuration, IsReadOnceForEachRequest) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    requestConfigReload();
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
    sim::writeFile(path, "[usb]\ndebug = scsi\n");
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
  });
}

TEST(Configuration, AFileThatComesLaterIsSeenAfterAReloadWasRequested) {
  support::inPrivateWorld([] {
    EXPECT_EQ(getConfigString("usb:debug"), nullptr);
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    EXPECT_EQ(getConfigString("usb:debug"), nullptr);
    requestConfigReload();
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
  });
}

TEST(Configuration, AFileThatHasGoneIsGoneAfterAReloadWasRequested) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
    std::filesystem::remove(path);
    requestConfigReload();
    EXPECT_EQ(getConfigString("usb:debug", "none"), nullptr);
  });
}

TEST(Configuration, OnceReleasedItIsAsNoFileUntilAReloadIsRequested) {
  support::inPrivateWorld([] {
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
    releaseConfig();
    EXPECT_EQ(getConfigString("usb:debug", "none"), nullptr);
    EXPECT_EQ(configDictionary(), nullptr);
    requestConfigReload();
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
  });
}

TEST(Configuration, MayBeReleasedWhenThereIsNone) {
  support::inPrivateWorld([] {
    releaseConfig();
    releaseConfig();
    sim::writeFile(path, "[usb]\ndebug = ctrl\n");
    EXPECT_STREQ(getConfigString("usb:debug"), "ctrl");
  });
}

}  // namespace
