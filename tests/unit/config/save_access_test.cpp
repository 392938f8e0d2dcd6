// Who may read what a save writes: nobody who may not read the old file, at any time.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "config/save.h"
#include "sim/files.h"
#include "support/child.h"
#include "unit/config/config_file.h"
#include "unit/config/save_steps.h"

namespace {

namespace fs = std::filesystem;

struct Access {
  uid_t owner;
  gid_t group;
  mode_t mode;

  bool operator==(const Access&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Access& access) {
  return out << access.owner << ':' << access.group << ' ' << std::oct << access.mode << std::dec;
}

Access accessOf(const struct stat& status) {
  return {status.st_uid, status.st_gid, status.st_mode & 07777U};
}

Access accessTo(int fd) {
  struct stat status {};
  fstat(fd, &status);
  return accessOf(status);
}

Access accessTo(const std::string& path) {
  struct stat status {};
  stat(path.c_str(), &status);
  return accessOf(status);
}

off_t sizeOf(int fd) {
  struct stat status {};
  fstat(fd, &status);
  return status.st_size;
}

// Records the access to the temporary files of a scope before each step that may change it, and before the first
// byte. They are empty then.
class RecordedAccess {
 public:
  [[nodiscard]] const std::vector<Access>& beforeChanges() const { return beforeChanges_; }
  [[nodiscard]] const std::vector<Access>& beforeWriting() const { return beforeWriting_; }

 private:
  void add(std::vector<Access>& accesses, int fd) {
    EXPECT_EQ(sizeOf(fd), 0);
    accesses.push_back(accessTo(fd));
  }

  std::vector<Access> beforeChanges_;
  std::vector<Access> beforeWriting_;
  support::Replaced<int(int, uid_t, gid_t)> chown_{library::fchown, [this](int fd, uid_t owner, gid_t group) {
                                                     add(beforeChanges_, fd);
                                                     return library::fchown.real(fd, owner, group);
                                                   }};
  support::Replaced<int(int, mode_t)> chmod_{library::fchmod, [this](int fd, mode_t mode) {
                                               add(beforeChanges_, fd);
                                               return library::fchmod.real(fd, mode);
                                             }};
  support::Replaced<void(const dictionary*, FILE*)> dump_{library::dumpIni,
                                                          [this](const dictionary* d, FILE* stream) {
                                                            add(beforeWriting_, fileno(stream));
                                                            library::dumpIni.real(d, stream);
                                                          }};
};

class SaveAccess : public testing::Test {
 protected:
  // The temporary file is its writer's alone, and then, from its first byte on, `access` holds.
  void expectSavedWith(const Access& access) {
    RecordedAccess recorded;
    EXPECT_EQ(configSave(config_.get(), file_.name()), 0);
    for (const Access& before : recorded.beforeChanges()) {
      EXPECT_EQ(before.mode, 0600U) << before;
    }
    EXPECT_FALSE(recorded.beforeChanges().empty());
    EXPECT_EQ(recorded.beforeWriting(), std::vector<Access>{access});
    EXPECT_EQ(accessTo(file_.path()), access);
  }

  void giveAway(uid_t owner, gid_t group, mode_t mode) {
    if (geteuid() != 0) {
      GTEST_SKIP() << "only root can give a file away";
    }
    ASSERT_EQ(chown(file_.name(), owner, group), 0);
    ASSERT_EQ(chmod(file_.name(), mode), 0);
  }

  const ConfigFile file_{"[usb]\nhid_only=0\n"};
  const Config config_ = configOf("[usb]\nhid_only=1\n");
};

TEST_F(SaveAccess, IsTheOldFilesFromTheFirstByteOn) {
  for (const mode_t mode : {0600U, 0640U, 0644U, 0666U, 0606U}) {
    ASSERT_EQ(chmod(file_.name(), mode), 0);
    expectSavedWith({geteuid(), getegid(), mode});
  }
}

TEST_F(SaveAccess, IsThatOfAForeignOwnerToo) {
  giveAway(1234, 2345, 0640);
  expectSavedWith({1234, 2345, 0640});
  giveAway(1234, 2345, 06750);
  expectSavedWith({1234, 2345, 06750});  // a change of the owner clears such bits
}

TEST_F(SaveAccess, OfAnOrdinaryUserIsTheOldFiles) {
  ASSERT_EQ(chmod(file_.name(), 0640), 0);
  support::inChild([this] {
    support::dropPrivileges();
    expectSavedWith({geteuid(), getegid(), 0640});
  });
}

TEST_F(SaveAccess, OfAGroupThatCannotBeKeptIsThatOfTheOthers) {
  for (const auto& [old, kept] :
       {std::pair(0640U, 0600U), std::pair(0664U, 0644U), std::pair(0646U, 0646U)}) {
    giveAway(geteuid(), 2345, old);
    support::inChild([this, kept = kept] {
      support::dropPrivileges();
      expectSavedWith({geteuid(), getegid(), kept});
    });
  }
}

// A save that was killed may have left the file, and somebody may have it open.
TEST_F(SaveAccess, IsNotThatOfATemporaryFileThatWasLeftThere) {
  const KnownProcess process;
  const std::string left = file_.path() + ".tmp.54321";
  std::ofstream(left) << "left";
  ASSERT_EQ(chmod(left.c_str(), 0666), 0);
  const int reader = open(left.c_str(), O_RDONLY);
  ASSERT_EQ(chmod(file_.name(), 0600), 0);
  expectSavedWith({geteuid(), getegid(), 0600});
  EXPECT_EQ(sizeOf(reader), 4);
  close(reader);
}

TEST_F(SaveAccess, IsNotThatOfAFileToWhichTheTemporaryNameLeads) {
  const KnownProcess process;
  const std::string other = file_.directory() + "/other";
  std::ofstream(other) << "other";
  fs::create_symlink(other, file_.path() + ".tmp.54321");
  expectSavedWith(accessTo(file_.path()));
  EXPECT_EQ(sim::readFile(other), "other");
  EXPECT_FALSE(fs::is_symlink(file_.path()));
}

}  // namespace
