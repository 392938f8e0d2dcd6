#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "config/edit.h"
#include "config/save.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/standard_output.h"
#include "unit/config/config_file.h"
#include "unit/config/save_steps.h"

namespace {

using Steps = std::vector<std::string>;

const std::string oldContent = "[usb]\nhid_only=0\n";
const std::string oldEntries = " usb usb:hid_only=0";
const std::string newEntries = " usb usb:hid_only=1";

Config newConfig() {
  return configOf("[usb]\nhid_only=1\n");
}

// More than one write of the standard library's holds.
Config longConfig() {
  Config config = newConfig();
  for (int i = 0; i < 1000; ++i) {
    configSet(config.get(), ("usb:key_" + std::to_string(i)).c_str(), "a value");
  }
  return config;
}

// A save that fails leaves the old file as it was, and locks and opens nothing for good.
void expectRefused(const Config& config, const ConfigFile& file) {
  const std::set<int> open = support::openDescriptors();
  EXPECT_EQ(configSave(config.get(), file.name()), -1);
  EXPECT_EQ(entriesOf(load(file.path())), oldEntries);
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
  EXPECT_EQ(support::openDescriptors(), open);
}

void expectRefused(const ConfigFile& file) {
  expectRefused(newConfig(), file);
}

int fail() {
  errno = EIO;
  return -1;
}

TEST(SaveFailures, NameTheFileThatCannotBeOpened) {
  const ConfigFile file(oldContent);
  ASSERT_EQ(chmod(file.name(), 0400), 0);
  support::inChild([&] {
    support::dropPrivileges();
    for (const std::string& path : {file.path(), std::string("/no/quor.conf")}) {
      const support::CapturedStandardOutput output;
      EXPECT_EQ(configSave(newConfig().get(), path.c_str()), -1);
      EXPECT_EQ(output.text(), "Config failed to open file '" + path + "\n");
    }
  });
}

TEST(SaveFailures, AreADirectoryThatMayNotBeReadOrWritten) {
  const ConfigFile file(oldContent);
  for (const mode_t mode : {0300U, 0500U}) {
    ASSERT_EQ(chmod(file.directory().c_str(), mode), 0);
    support::inChild([&] {
      support::dropPrivileges();
      const Config config = newConfig();
      expectRefused(config, file);
      const RecordedSaveSteps recorded;
      EXPECT_EQ(configSave(config.get(), file.name()), -1);
      EXPECT_EQ(recorded.steps(), (Steps{"lock", "unlock"}));
    });
    ASSERT_EQ(chmod(file.directory().c_str(), 0700), 0);
    EXPECT_EQ(sim::entriesOf(file.directory()).size(), 1U);
  }
}

TEST(SaveFailures, AreADirectoryOfTheTemporaryFilesName) {
  const ConfigFile file(oldContent);
  const KnownProcess process;
  std::filesystem::create_directory(file.path() + ".tmp.54321");
  expectRefused(file);
}

TEST(SaveFailures, AreAFullDisk) {
  support::inPrivateWorld([] {
    ASSERT_EQ(mount("small", "/vel", "tmpfs", 0, "size=8k"), 0);
    ASSERT_EQ(setenv("TMPDIR", "/vel", 1), 0);
    expectRefused(longConfig(), ConfigFile(oldContent));
  });
}

rlimit fileSizeLimit() {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  return limit;
}

// One write fails, and the next ones succeed: the temporary file is not whole.
TEST(SaveFailures, AreADiskThatWasFullForAMoment) {
  support::inChild([] {
    const ConfigFile file(oldContent);
    const Config config = longConfig();
    std::signal(SIGXFSZ, [](int) {
      rlimit limit = fileSizeLimit();
      limit.rlim_cur = limit.rlim_max;
      setrlimit(RLIMIT_FSIZE, &limit);
    });
    rlimit limit = fileSizeLimit();
    limit.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    expectRefused(config, file);
    EXPECT_EQ(fileSizeLimit().rlim_cur, limit.rlim_max) << "nothing has failed";
  });
}

TEST(SaveFailures, OfSynchronisingTheFileLeaveItUnderItsTemporaryName) {
  const ConfigFile file(oldContent);
  const KnownProcess process;
  bool renamed = false;
  const support::Replaced rename(library::rename, [&](const char*, const char*) {
    renamed = true;
    return 0;
  });
  const support::Replaced fsync(library::fsync, [](int) { return fail(); });
  expectRefused(file);
  EXPECT_FALSE(renamed);
  EXPECT_EQ(entriesOf(load(file.path() + ".tmp.54321")), newEntries);
}

TEST(SaveFailures, OfTheRenameSynchroniseAllTheSame) {
  const ConfigFile file(oldContent);
  const Config config = newConfig();
  const RecordedSaveSteps recorded;
  const support::Replaced rename(library::rename, [](const char*, const char*) { return fail(); });
  EXPECT_EQ(configSave(config.get(), file.name()), -1);
  EXPECT_EQ(recorded.steps(), (Steps{"lock", "fsync file", "sync", "fsync directory", "unlock"}));
  expectRefused(config, file);
}

TEST(SaveFailures, AreNotThoseOfSynchronisingTheDirectory) {
  const ConfigFile file(oldContent);
  const support::Replaced fsync(library::fsync, [](int fd) {
    return nameOfFsync(fd) == "fsync directory" ? fail() : library::fsync.real(fd);
  });
  EXPECT_EQ(configSave(newConfig().get(), file.name()), 0);
  EXPECT_EQ(entriesOf(load(file.path())), newEntries);
}

TEST(SaveFailures, AreNotThoseOfUnlockingWhichArePrinted) {
  const ConfigFile file(oldContent);
  const Config config = newConfig();
  const support::CapturedStandardOutput output;
  {
    const support::Replaced lock(library::flock, [](int fd, int operation) {
      return operation == LOCK_UN ? fail() : library::flock.real(fd, operation);
    });
    EXPECT_EQ(configSave(config.get(), file.name()), 0);
  }
  EXPECT_EQ(output.text(), "Config unable to set lock\n");
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
}

TEST(SaveFailures, AreAHundredLocksThatCannotBeSet) {
  const ConfigFile file(oldContent);
  const Config config = newConfig();
  const support::CapturedStandardOutput output;
  int attempts = 0;
  const support::Replaced lock(library::flock, [&](int, int) {
    ++attempts;
    return fail();
  });
  EXPECT_EQ(configSave(config.get(), file.name()), -1);
  EXPECT_EQ(attempts, 100);
  EXPECT_EQ(output.text().size(), 100 * std::string("Config unable to set lock\n").size());
}

}  // namespace
