#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "config/edit.h"
#include "config/save.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"
#include "unit/config/captured_output.h"
#include "unit/config/loaded_config.h"
#include "unit/config/save_steps.h"

namespace {

namespace fs = std::filesystem;
using Steps = std::vector<std::string>;

const std::string oldContent = "[usb]\nhid_only=0\n";
const Entries oldEntries = {{"usb", "(section)"}, {"usb:hid_only", "0"}};
const std::string newContent = "[usb]\nhid_only=1\n";

// More than one write of the standard library's holds.
Config longConfig() {
  Config config = configOf(newContent);
  for (int i = 0; i < 1000; ++i) {
    configSet(config.get(), ("usb:key_" + std::to_string(i)).c_str(), "a value");
  }
  return config;
}

// A save that fails leaves the old file as it was, and locks and opens nothing for good.
void expectRefused(const Config& config, const ConfigFile& file) {
  const std::set<int> open = support::openDescriptors();
  EXPECT_EQ(configSave(config.get(), file.name()), -1);
  EXPECT_EQ(entriesOf(load(file)), oldEntries);
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
  EXPECT_EQ(support::openDescriptors(), open);
}

std::string temporaryOf(const ConfigFile& file) {
  return file.path() + ".tmp.54321";
}

// The process has the number of the temporary file above.
class KnownProcess {
  support::Replaced<pid_t()> pid_{library::getpid, [] { return 54321; }};
};

TEST(FailedConfigSave, NamesTheFileThatCannotBeOpened) {
  const CapturedOutput output(stdout);
  EXPECT_EQ(configSave(configOf(newContent).get(), "/no/quor.conf"), -1);
  EXPECT_EQ(output.text(), "Config failed to open file '/no/quor.conf\n");
}

TEST(FailedConfigSave, NamesTheFileThatMayNotBeWritten) {
  const ConfigFile file(oldContent);
  ASSERT_EQ(chmod(file.name(), 0400), 0);
  const std::string report = support::reportOfUnprivilegedChild([&] {
    const CapturedOutput output(stdout);
    const int result = configSave(configOf(newContent).get(), file.name());
    return std::to_string(result) + " " + output.text();
  });
  EXPECT_EQ(report, "-1 Config failed to open file '" + file.path() + "\n");
}

TEST(FailedConfigSave, NeedsADirectoryThatMayBeRead) {
  const ConfigFile file(oldContent);
  const std::string directory = fs::path(file.path()).parent_path();
  ASSERT_EQ(chmod(directory.c_str(), 0300), 0);
  support::inChild([&] {
    support::dropPrivileges();
    const Config config = configOf(newContent);
    expectRefused(config, file);
    Steps steps;
    const SaveSteps recorded([](const std::string&) {},
                             [&](const std::string& step) { steps.push_back(step); });
    EXPECT_EQ(configSave(config.get(), file.name()), -1);
    EXPECT_EQ(steps, (Steps{"lock", "unlock"}));
  });
  ASSERT_EQ(chmod(directory.c_str(), 0700), 0);
  EXPECT_EQ(sim::entriesOf(directory).size(), 1U);
}

TEST(FailedConfigSave, NeedsADirectoryThatMayBeWritten) {
  const ConfigFile file(oldContent);
  const std::string directory = fs::path(file.path()).parent_path();
  ASSERT_EQ(chmod(directory.c_str(), 0500), 0);
  support::inChild([&] {
    support::dropPrivileges();
    expectRefused(configOf(newContent), file);
  });
  ASSERT_EQ(chmod(directory.c_str(), 0700), 0);
}

TEST(FailedConfigSave, CannotReplaceADirectoryOfTheTemporaryFilesName) {
  const ConfigFile file(oldContent);
  const KnownProcess process;
  fs::create_directory(temporaryOf(file));
  expectRefused(configOf(newContent), file);
}

TEST(FailedConfigSave, KeepsTheOldFileWhereTheDiskIsFull) {
  support::inPrivateWorld([] {
    ASSERT_EQ(mount("small", "/vel", "tmpfs", 0, "size=8k"), 0);
    ASSERT_EQ(setenv("TMPDIR", "/vel", 1), 0);
    const ConfigFile file(oldContent);
    const Config config = longConfig();
    expectRefused(config, file);
  });
}

// A write has failed, and the next ones succeed: what has been written by then is not whole.
TEST(FailedConfigSave, KeepsTheOldFileWhereTheDiskWasFullForAMoment) {
  support::inChild([] {
    const ConfigFile file(oldContent);
    const Config config = longConfig();
    signal(SIGXFSZ, [](int) {
      rlimit limit{};
      getrlimit(RLIMIT_FSIZE, &limit);
      limit.rlim_cur = limit.rlim_max;
      setrlimit(RLIMIT_FSIZE, &limit);
    });
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    expectRefused(config, file);
    getrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(limit.rlim_cur, limit.rlim_max) << "nothing has failed";
  });
}

TEST(FailedConfigSave, DoesNotRenameAFileThatIsNotSurelyOnTheDisk) {
  const ConfigFile file(oldContent);
  const KnownProcess process;
  bool renamed = false;
  const support::Replaced<int(const char*, const char*)> rename(library::rename,
                                                                [&](const char*, const char*) {
                                                                  renamed = true;
                                                                  return 0;
                                                                });
  const support::Replaced<int(int)> fsync(library::fsync, [](int) {
    errno = EIO;
    return -1;
  });
  expectRefused(configOf(newContent), file);
  EXPECT_FALSE(renamed);
}

TEST(FailedConfigSave, LeavesTheTemporaryFileThatCouldNotBeWritten) {
  const ConfigFile file(oldContent);
  const KnownProcess process;
  const support::Replaced<int(int)> fsync(library::fsync, [](int) { return -1; });
  expectRefused(configOf(newContent), file);
  EXPECT_EQ(entriesOf(Config(configLoad(temporaryOf(file).c_str()))), entriesOf(configOf(newContent)));
}

TEST(FailedConfigSave, IsOneThatCannotRename) {
  const ConfigFile file(oldContent);
  const support::Replaced<int(const char*, const char*)> rename(library::rename,
                                                                [](const char*, const char*) {
                                                                  errno = EACCES;
                                                                  return -1;
                                                                });
  expectRefused(configOf(newContent), file);
}

TEST(FailedConfigSave, SynchronisesAllTheSame) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  Steps steps;
  {
    const SaveSteps recorded([](const std::string&) {},
                             [&](const std::string& step) { steps.push_back(step); });
    const support::Replaced<int(const char*, const char*)> rename(
        library::rename, [](const char*, const char*) { return -1; });
    EXPECT_EQ(configSave(config.get(), file.name()), -1);
  }
  EXPECT_EQ(steps, (Steps{"lock", "fsync file", "sync", "fsync directory", "unlock"}));
}

TEST(ConfigSave, IsDoneWhenOnlyTheDirectoryCannotBeSynchronised) {
  const ConfigFile file(oldContent);
  const support::Replaced<int(int)> fsync(library::fsync, [](int fd) {
    return std::string(nameOfFsync(fd)) == "fsync directory" ? -1 : library::fsync.real(fd);
  });
  EXPECT_EQ(configSave(configOf(newContent).get(), file.name()), 0);
  EXPECT_EQ(entriesOf(load(file)), entriesOf(configOf(newContent)));
}

TEST(ConfigSave, TellsThatItCannotUnlockAndIsDoneAllTheSame) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  const CapturedOutput output(stdout);
  {
    const support::Replaced<int(int, int)> lock(library::flock, [](int fd, int operation) {
      return operation == LOCK_UN ? -1 : library::flock.real(fd, operation);
    });
    errno = 0;
    EXPECT_EQ(configSave(config.get(), file.name()), 0);
  }
  EXPECT_EQ(output.text(), "Config unable to set lock\n");
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
}

TEST(FailedConfigSave, TellsOfEachLockThatCannotBeSet) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  const CapturedOutput output(stdout);
  int attempts = 0;
  const support::Replaced<int(int, int)> lock(library::flock, [&](int, int) {
    ++attempts;
    errno = ENOLCK;
    return -1;
  });
  EXPECT_EQ(configSave(config.get(), file.name()), -1);
  EXPECT_EQ(attempts, 100);
  EXPECT_EQ(output.text().size(), 100 * std::string("Config unable to set lock\n").size());
}

}  // namespace
