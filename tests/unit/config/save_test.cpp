#include "config/save.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "config/edit.h"
#include "sim/files.h"
#include "support/descriptors.h"
#include "support/standard_output.h"
#include "support/temporary_directory.h"
#include "unit/config/config_file.h"
#include "unit/config/save_steps.h"

namespace {

namespace fs = std::filesystem;
using Steps = std::vector<std::string>;

const std::string newContent = "[usb]\nhid_only=1\n[apps]\nx=program\n";
const std::string newEntries = " usb usb:hid_only=1 apps apps:x=program";
const Steps everyStep = {"lock", "fsync file", "rename", "sync", "fsync directory", "unlock"};

struct stat statusOf(const std::string& path) {
  struct stat status {};
  stat(path.c_str(), &status);
  return status;
}

bool isSameFile(int fd, const std::string& path) {
  struct stat opened {};
  return fstat(fd, &opened) == 0 && opened.st_ino == statusOf(path).st_ino;
}

// A file with old content, and a dictionary with a new one.
class Save : public testing::Test {
 protected:
  // Saves the dictionary to the file: it then has the new content.
  void save() const {
    EXPECT_EQ(configSave(config.get(), file.name()), 0);
    EXPECT_EQ(entriesOf(load(file.path())), newEntries);
  }

  const ConfigFile file{"[usb]\nhid_only=0\n"};
  const Config config = configOf(newContent);
};

// The temporary file that a save renames to its path, while the process has this number.
std::string temporaryNameFor(const std::string& path, pid_t process) {
  const KnownProcess known(process);
  std::vector<std::pair<std::string, std::string>> renames;
  const support::Replaced recording(library::rename, [&](const char* from, const char* to) {
    renames.emplace_back(from, to);
    return library::rename.real(from, to);
  });
  EXPECT_EQ(configSave(configOf(newContent).get(), path.c_str()), 0);
  EXPECT_EQ(renames.size(), 1U);
  EXPECT_EQ(renames.at(0).second, path);
  return renames.at(0).first;
}

TEST_F(Save, ReplacesTheFileAndLeavesNothingElse) {
  const support::CapturedStandardOutput output;
  const std::set<int> open = support::openDescriptors();
  save();
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(support::openDescriptors(), open);
  EXPECT_EQ(sim::entriesOf(file.directory()).size(), 1U);
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
}

TEST_F(Save, WritesWhatIniparserWrites) {
  save();
  const support::CapturedStandardOutput expected;
  iniparser_dump_ini(config.get(), stdout);
  EXPECT_EQ(sim::readFile(file.path()), expected.text());
}

TEST_F(Save, MakesAFileThatIsMissing) {
  fs::remove(file.path());
  save();
}

TEST_F(Save, WritesThePresentStateEachTime) {
  for (const char* value : {"0", "2", "1"}) {
    configSet(config.get(), "usb:hid_only", value);
    EXPECT_EQ(configSave(config.get(), file.name()), 0);
    EXPECT_EQ(entriesOf(load(file.path())), entriesOf(config));
  }
  EXPECT_EQ(configSave(configOf("").get(), file.name()), 0);
  EXPECT_EQ(entriesOf(load(file.path())), "");
}

TEST_F(Save, RefusesNoDictionary) {
  EXPECT_EQ(configSave(nullptr, file.name()), -1);
  EXPECT_EQ(entriesOf(load(file.path())), " usb usb:hid_only=0");
  fs::remove(file.path());
  EXPECT_EQ(configSave(nullptr, file.name()), -1);
  EXPECT_FALSE(fs::exists(file.path()));
}

TEST_F(Save, KeepsThePermissions) {
  for (const mode_t mode : {0600U, 0640U, 0644U, 0664U}) {
    ASSERT_EQ(chmod(file.name(), mode), 0);
    save();
    EXPECT_EQ(statusOf(file.path()).st_mode & 07777U, mode);
  }
}

TEST_F(Save, KeepsOwnerAndGroup) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  ASSERT_EQ(chown(file.name(), 1234, 2345), 0);
  save();
  EXPECT_EQ(statusOf(file.path()).st_uid, 1234U);
  EXPECT_EQ(statusOf(file.path()).st_gid, 2345U);
}

TEST_F(Save, NamesTheTemporaryFileByAtLeastFiveDigitsOfItsProcess) {
  EXPECT_EQ(temporaryNameFor(file.path(), 7), file.path() + ".tmp.00007");
  EXPECT_EQ(temporaryNameFor(file.path(), 54321), file.path() + ".tmp.54321");
  EXPECT_EQ(temporaryNameFor(file.path(), 4194304), file.path() + ".tmp.4194304");
}

TEST_F(Save, KeepsNothingOfATemporaryFileThatWasLeftThere) {
  const KnownProcess process;
  std::ofstream(file.path() + ".tmp.54321") << "[left]\nby=a process of the same number\n";
  save();
}

TEST_F(Save, TakesItsStepsInOrder) {
  const RecordedSaveSteps recorded;
  EXPECT_EQ(configSave(config.get(), file.name()), 0);
  EXPECT_EQ(recorded.steps(), everyStep);
}

TEST_F(Save, SynchronisesTheWholeNewFileAndThenItsDirectory) {
  const KnownProcess process;
  const std::string temporary = file.path() + ".tmp.54321";
  Steps synchronised;
  const support::Replaced fsync(library::fsync, [&](int fd) {
    if (isSameFile(fd, temporary)) {
      synchronised.push_back("file" + entriesOf(load(temporary)));
    } else if (isSameFile(fd, file.directory())) {
      synchronised.emplace_back("directory");
    }
    return library::fsync.real(fd);
  });
  save();
  EXPECT_EQ(synchronised, (Steps{"file" + newEntries, "directory"}));
}

TEST_F(Save, HoldsTheOldFilesLockToTheEnd) {
  const int oldFile = open(file.name(), O_RDONLY);
  const std::string oldPath = "/proc/self/fd/" + std::to_string(oldFile);
  Steps locked;
  {
    const SaveSteps steps([&](const std::string& step) {
      if (!couldLock(oldPath, LOCK_SH)) {
        locked.push_back(step);
      }
    });
    EXPECT_EQ(configSave(config.get(), file.name()), 0);
  }
  EXPECT_EQ(locked, Steps(everyStep.begin() + 1, everyStep.end()));
  EXPECT_TRUE(couldLock(oldPath, LOCK_EX));
  close(oldFile);
}

TEST_F(Save, WaitsForTheReadersOfTheOldFile) {
  const LockHolder reader(file.path(), LOCK_SH);
  const auto readAndRelease = [&] {
    EXPECT_EQ(sim::readFile(file.path()), "[usb]\nhid_only=0\n");
    reader.release();
  };
  whileItAsksForItsLock([&] { return configSave(config.get(), file.name()); }, readAndRelease);
  EXPECT_EQ(entriesOf(load(file.path())), newEntries);
}

TEST_F(Save, TakesANameInTheWorkingDirectory) {
  const fs::path old = fs::current_path();
  fs::current_path(file.directory());
  bool synchronised = false;
  {
    const support::Replaced fsync(library::fsync, [&](int fd) {
      synchronised = synchronised || isSameFile(fd, file.directory());
      return library::fsync.real(fd);
    });
    EXPECT_EQ(configSave(config.get(), "quor.conf"), 0);
  }
  fs::current_path(old);
  EXPECT_TRUE(synchronised);
  EXPECT_EQ(entriesOf(load(file.path())), newEntries);
}

TEST_F(Save, TakesAPathOfUpTo254Characters) {
  const std::string deep = file.directory() + "/" + std::string(120, 'd');
  fs::create_directory(deep);
  const std::string path = deep + "/" + std::string(254 - deep.size() - 1, 'f');
  EXPECT_EQ(temporaryNameFor(path, 4194304), path + ".tmp.4194304");
  EXPECT_EQ(entriesOf(load(path)), newEntries);
  const support::CapturedStandardOutput output;
  EXPECT_EQ(configSave(config.get(), (path + "f").c_str()), -1);
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(sim::entriesOf(deep).size(), 1U);
}

}  // namespace
