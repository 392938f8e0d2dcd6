#include "config/save.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "config/edit.h"
#include "sim/files.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"
#include "unit/config/captured_output.h"
#include "unit/config/loaded_config.h"
#include "unit/config/save_steps.h"

namespace {

namespace fs = std::filesystem;
using Steps = std::vector<std::string>;

const std::string oldContent = "[usb]\nhid_only=0\n";
const std::string newContent = "[usb]\nhid_only=1\n[apps]\nx=program\n";
const Steps everyStep = {"lock", "fsync file", "rename", "sync", "fsync directory", "unlock"};

mode_t permissionsOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool isSameFile(int fd, const std::string& path) {
  struct stat opened {};
  struct stat present {};
  return fstat(fd, &opened) == 0 && stat(path.c_str(), &present) == 0 && opened.st_ino == present.st_ino;
}

std::size_t countOfFilesBeside(const std::string& path) {
  return sim::entriesOf(fs::path(path).parent_path()).size();
}

// The names and arguments of the renames of a scope, which are carried out.
class RecordedRenames {
 public:
  [[nodiscard]] const std::vector<std::pair<std::string, std::string>>& renames() const { return renames_; }

 private:
  std::vector<std::pair<std::string, std::string>> renames_;
  support::Replaced<int(const char*, const char*)> rename_{library::rename,
                                                           [this](const char* from, const char* to) {
                                                             renames_.emplace_back(from, to);
                                                             return library::rename.real(from, to);
                                                           }};
};

std::string temporaryNameFor(const std::string& path, pid_t process) {
  const support::Replaced<pid_t()> pid(library::getpid, [process] { return process; });
  const RecordedRenames recorded;
  EXPECT_EQ(configSave(configOf(newContent).get(), path.c_str()), 0);
  return recorded.renames().at(0).first;
}

TEST(ConfigSave, PutsTheDictionaryInTheOldFilesPlace) {
  const ConfigFile file(oldContent);
  EXPECT_EQ(configSave(configOf(newContent).get(), file.name()), 0);
  EXPECT_EQ(entriesOf(load(file)), entriesOf(configOf(newContent)));
}

TEST(ConfigSave, WritesWhatIniparserWrites) {
  const ConfigFile file("");
  const Config config = configOf(newContent);
  EXPECT_EQ(configSave(config.get(), file.name()), 0);
  const CapturedOutput expected(stdout);
  iniparser_dump_ini(config.get(), stdout);
  EXPECT_EQ(contentOf(file.path()), expected.text());
}

TEST(ConfigSave, MakesAFileThatIsMissing) {
  const support::TemporaryDirectory directory;
  EXPECT_EQ(configSave(configOf(newContent).get(), (directory / "new").c_str()), 0);
  EXPECT_EQ(entriesOf(Config(configLoad((directory / "new").c_str()))), entriesOf(configOf(newContent)));
}

TEST(ConfigSave, EmptiesTheFileForAnEmptyDictionary) {
  const ConfigFile file(oldContent);
  EXPECT_EQ(configSave(configOf("").get(), file.name()), 0);
  EXPECT_EQ(entriesOf(load(file)), Entries());
}

TEST(ConfigSave, SavesThePresentStateEachTime) {
  const ConfigFile file("");
  const Config config = configOf(newContent);
  for (const char* value : {"1", "2", "3"}) {
    configSet(config.get(), "usb:hid_only", value);
    EXPECT_EQ(configSave(config.get(), file.name()), 0);
    EXPECT_EQ(textOf(load(file), "usb:hid_only"), value);
  }
}

TEST(ConfigSave, SaysNothingAndLeavesNothingBehind) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  const CapturedOutput output(stdout);
  const std::set<int> open = support::openDescriptors();
  EXPECT_EQ(configSave(config.get(), file.name()), 0);
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(support::openDescriptors(), open);
  EXPECT_EQ(countOfFilesBeside(file.path()), 1U);
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
}

TEST(ConfigSave, RefusesNoDictionary) {
  const ConfigFile file(oldContent);
  EXPECT_EQ(configSave(nullptr, file.name()), -1);
  EXPECT_EQ(entriesOf(load(file)), entriesOf(configOf(oldContent)));
  const support::TemporaryDirectory directory;
  EXPECT_EQ(configSave(nullptr, (directory / "new").c_str()), -1);
  EXPECT_FALSE(fs::exists(directory / "new"));
}

TEST(ConfigSave, KeepsThePermissions) {
  for (const mode_t mode : {0600U, 0640U, 0644U, 0664U}) {
    const ConfigFile file(oldContent);
    ASSERT_EQ(chmod(file.name(), mode), 0);
    EXPECT_EQ(configSave(configOf(newContent).get(), file.name()), 0);
    EXPECT_EQ(permissionsOf(file.path()), mode);
  }
}

TEST(ConfigSave, KeepsOwnerAndGroup) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  const ConfigFile file(oldContent);
  ASSERT_EQ(chown(file.name(), 1234, 2345), 0);
  EXPECT_EQ(configSave(configOf(newContent).get(), file.name()), 0);
  struct stat status {};
  ASSERT_EQ(stat(file.name(), &status), 0);
  EXPECT_EQ(status.st_uid, 1234U);
  EXPECT_EQ(status.st_gid, 2345U);
}

TEST(ConfigSave, NamesTheTemporaryFileByAtLeastFiveDigitsOfItsProcess) {
  const ConfigFile file("");
  EXPECT_EQ(temporaryNameFor(file.path(), 7), file.path() + ".tmp.00007");
  EXPECT_EQ(temporaryNameFor(file.path(), 54321), file.path() + ".tmp.54321");
  EXPECT_EQ(temporaryNameFor(file.path(), 4194304), file.path() + ".tmp.4194304");
}

TEST(ConfigSave, RenamesTheTemporaryFileToThePath) {
  const ConfigFile file("");
  const RecordedRenames recorded;
  configSave(configOf(newContent).get(), file.name());
  ASSERT_EQ(recorded.renames().size(), 1U);
  EXPECT_EQ(recorded.renames()[0].second, file.path());
}

TEST(ConfigSave, KeepsNothingOfATemporaryFileThatWasLeftThere) {
  const ConfigFile file(oldContent);
  std::ofstream(file.path() + ".tmp.54321") << "[left]\nby=a process of the same number\n";
  temporaryNameFor(file.path(), 54321);
  EXPECT_EQ(entriesOf(load(file)), entriesOf(configOf(newContent)));
}

TEST(ConfigSave, TakesItsStepsInOrder) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  Steps steps;
  const SaveSteps recorded([](const std::string&) {},
                           [&](const std::string& step) { steps.push_back(step); });
  EXPECT_EQ(configSave(config.get(), file.name()), 0);
  EXPECT_EQ(steps, everyStep);
}

TEST(ConfigSave, SynchronisesTheWholeNewFileBeforeItTakesTheOldOnesPlace) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  const std::string temporary = file.path() + ".tmp.54321";
  const support::Replaced<pid_t()> pid(library::getpid, [] { return 54321; });
  int synchronised = 0;
  const support::Replaced<int(int)> fsync(library::fsync, [&](int fd) {
    if (isSameFile(fd, temporary)) {
      ++synchronised;
      EXPECT_EQ(entriesOf(Config(configLoad(temporary.c_str()))), entriesOf(config));
    }
    return library::fsync.real(fd);
  });
  EXPECT_EQ(configSave(config.get(), file.name()), 0);
  EXPECT_EQ(synchronised, 1);
}

TEST(ConfigSave, SynchronisesTheDirectoryOfTheFile) {
  const ConfigFile file(oldContent);
  bool synchronised = false;
  const support::Replaced<int(int)> fsync(library::fsync, [&](int fd) {
    synchronised = synchronised || isSameFile(fd, fs::path(file.path()).parent_path());
    return library::fsync.real(fd);
  });
  EXPECT_EQ(configSave(configOf(newContent).get(), file.name()), 0);
  EXPECT_TRUE(synchronised);
}

TEST(ConfigSave, HoldsTheOldFilesLockToTheEnd) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  const int oldFile = open(file.name(), O_RDONLY);
  const std::string oldPath = "/proc/self/fd/" + std::to_string(oldFile);
  Steps locked;
  {
    const SaveSteps steps(
        [&](const std::string& step) {
          if (!couldLock(oldPath, LOCK_SH)) {
            locked.push_back(step);
          }
        },
        [](const std::string&) {});
    EXPECT_EQ(configSave(config.get(), file.name()), 0);
  }
  EXPECT_EQ(locked, Steps(everyStep.begin() + 1, everyStep.end()));
  EXPECT_TRUE(couldLock(oldPath, LOCK_EX));
  close(oldFile);
}

TEST(ConfigSave, WaitsForTheReadersOfTheOldFile) {
  const ConfigFile file(oldContent);
  const Config config = configOf(newContent);
  const LockHolder reader(file.path(), LOCK_SH);
  std::promise<void> locking;
  bool announced = false;
  const support::Replaced<int(int, int)> announcing(library::flock, [&](int fd, int operation) {
    if (!std::exchange(announced, true)) {
      locking.set_value();
    }
    return library::flock.real(fd, operation);
  });
  auto saved = std::async(std::launch::async, [&] { return configSave(config.get(), file.name()); });
  locking.get_future().wait();
  EXPECT_EQ(contentOf(file.path()), oldContent);
  reader.release();
  EXPECT_EQ(saved.get(), 0);
  EXPECT_EQ(entriesOf(load(file)), entriesOf(config));
}

TEST(ConfigSave, TakesANameInTheWorkingDirectory) {
  const support::TemporaryDirectory directory;
  fs::current_path(directory.path());
  bool synchronised = false;
  {
    const support::Replaced<int(int)> fsync(library::fsync, [&](int fd) {
      synchronised = synchronised || isSameFile(fd, directory.path());
      return library::fsync.real(fd);
    });
    EXPECT_EQ(configSave(configOf(newContent).get(), "quor.conf"), 0);
  }
  EXPECT_TRUE(synchronised);
  EXPECT_EQ(entriesOf(Config(configLoad((directory / "quor.conf").c_str()))),
            entriesOf(configOf(newContent)));
  fs::current_path("/");
}

TEST(ConfigSave, TakesAPathOf254Characters) {
  const support::TemporaryDirectory directory;
  const std::string deep = directory / std::string(120, 'd');
  fs::create_directory(deep);
  const std::string path = deep + "/" + std::string(254 - deep.size() - 1, 'f');
  EXPECT_EQ(temporaryNameFor(path, 4194304), path + ".tmp.4194304");
  EXPECT_EQ(entriesOf(Config(configLoad(path.c_str()))), entriesOf(configOf(newContent)));
  EXPECT_EQ(countOfFilesBeside(path), 1U);
}

TEST(ConfigSave, RefusesAPathOf255Characters) {
  const CapturedOutput output(stdout);
  EXPECT_EQ(configSave(configOf(newContent).get(), ("/" + std::string(254, 'x')).c_str()), -1);
  EXPECT_EQ(output.text(), "");
}

}  // namespace
