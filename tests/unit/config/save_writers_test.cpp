// Writers that are killed, and readers beside a writer. Locks and renames are the kernel's work and need no
// disk: the files are in memory, and the saves do not synchronise the machine's disks, which would take most
// of the time.

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>

#include "config/edit.h"
#include "config/save.h"
#include "support/child.h"
#include "ulx/pipe.h"
#include "unit/config/config_file.h"
#include "unit/config/save_steps.h"

namespace {

// Two contents of different lengths, each of which takes more than one write.
Config contentFull(const std::string& value, int settings) {
  Config config = configOf("[usb]\n");
  for (int i = 0; i < settings; ++i) {
    configSet(config.get(), ("usb:key_" + std::to_string(i)).c_str(), value.c_str());
  }
  return config;
}

// A file in memory that holds the one or the other of two contents.
class Store {
 public:
  Store() { save(first); }

  void save(const Config& config) const {
    if (configSave(config.get(), file_.name()) != 0) {
      std::_Exit(EXIT_FAILURE);
    }
  }

  void expectWhole() {
    const Config present = load(file_.path());
    ASSERT_NE(present, nullptr);
    expectWhole(present);
  }

  void expectWhole(const Config& present) {
    const std::string found = entriesOf(present);
    const bool isFirst = found == firstEntries_;
    ASSERT_TRUE(isFirst || found == secondEntries_) << found;
    ++(isFirst ? timesFirst : timesSecond);
  }

  /** Null where a reader gives up, since a busy writer has replaced the file each time it was locked. */
  [[nodiscard]] Config read() const { return load(file_.path()); }

  void expectFree() const { ASSERT_TRUE(couldLock(file_.path(), LOCK_EX)); }

  const Config first = contentFull("first", 150);
  const Config second = contentFull("the second", 200);
  int timesFirst = 0;
  int timesSecond = 0;

 private:
  ConfigFile file_{""};
  std::string firstEntries_ = entriesOf(first);
  std::string secondEntries_ = entriesOf(second);
};

void inMemory(const std::function<void(Store&)>& body) {
  support::inPrivateWorld([&body] {
    setenv("TMPDIR", "/sim", 1);
    const support::Replaced<void()> sync(library::sync, [] {});
    Store store;
    body(store);
  });
}

pid_t startProcess(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    std::_Exit(EXIT_SUCCESS);
  }
  return child;
}

int statusOf(pid_t child) {
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

void liveOn(const std::string& /*step*/) {}

SaveSteps::Step dieAt(const std::string& step) {
  return [step](const std::string& at) {
    if (at == step) {
      raise(SIGKILL);
    }
  };
}

// Saves the second content in the first one's place, in a process that is killed at that step of the save.
void saveAndDie(Store& store, const SaveSteps::Step& before, const SaveSteps::Step& after) {
  const pid_t writer = startProcess([&] {
    const SaveSteps steps(before, after);
    store.save(store.second);
  });
  ASSERT_EQ(WTERMSIG(statusOf(writer)), SIGKILL);
  store.expectFree();
  store.expectWhole();
}

TEST(SaveWriters, KilledBeforeTheRenameLeaveTheOldFile) {
  inMemory([](Store& store) {
    for (const char* step : {"lock", "fsync file"}) {
      saveAndDie(store, dieAt(step), liveOn);
      saveAndDie(store, liveOn, dieAt(step));
    }
    saveAndDie(store, dieAt("rename"), liveOn);
    EXPECT_EQ(store.timesFirst, 5);
  });
}

TEST(SaveWriters, KilledAfterTheRenameLeaveTheNewFile) {
  inMemory([](Store& store) {
    const auto anew = [&store] { store.save(store.first); };
    saveAndDie(store, liveOn, dieAt("rename"));
    for (const char* step : {"sync", "fsync directory", "unlock"}) {
      anew();
      saveAndDie(store, dieAt(step), liveOn);
      anew();
      saveAndDie(store, liveOn, dieAt(step));
    }
    EXPECT_EQ(store.timesSecond, 7);
  });
}

// Saves without end in a process that is killed so long after its start. Returns how it ended,
// as waitpid does.
int saveAndKillAfter(const Store& store, std::chrono::microseconds duration) {
  ulx::Pipe started;
  const pid_t writer = startProcess([&] {
    started.writeEnd.writeByte(1);
    for (;;) {
      store.save(store.second);
      store.save(store.first);
    }
  });
  std::uint8_t byte = 0;
  started.readEnd.readByte(byte);
  const auto end = std::chrono::steady_clock::now() + duration;
  while (std::chrono::steady_clock::now() < end) {  // a sleep is not that exact
  }
  kill(writer, SIGKILL);
  return statusOf(writer);
}

TEST(SaveWriters, KilledAtAnyMomentLeaveAWholeFreeFile) {
  const auto seed = std::random_device()();
  inMemory([seed](Store& store) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> lifetime(0, 3000);
    for (int i = 0; i < 500 && !testing::Test::HasFailure(); ++i) {
      const int status = saveAndKillAfter(store, std::chrono::microseconds(lifetime(random)));
      ASSERT_TRUE(WIFSIGNALED(status)) << "a save has failed";
      store.expectFree();
      store.expectWhole();
    }
    EXPECT_GT(store.timesFirst, 0);
    EXPECT_GT(store.timesSecond, 0);
  });
}

// The writer goes on until the reader has met both contents: a fixed number of saves may pass it by.
TEST(SaveWriters, ShowReadersOnlyWholeFiles) {
  inMemory([](Store& store) {
    const pid_t writer = startProcess([&store] {
      for (;;) {
        store.save(store.second);
        store.save(store.first);
      }
    });
    constexpr int enough = 100;
    while ((store.timesFirst < enough || store.timesSecond < enough) && !testing::Test::HasFailure()) {
      if (const Config present = store.read(); present != nullptr) {
        store.expectWhole(present);
      }
    }
    kill(writer, SIGKILL);
    EXPECT_TRUE(WIFSIGNALED(statusOf(writer))) << "a save has failed";
  });
}

TEST(SaveWriters, LeaveTheFileOfOneOfThemWhenThereAreTwo) {
  inMemory([](Store& store) {
    const auto save = [&store](const Config& config) {
      return startProcess([&store, &config] {
        for (int i = 0; i < 200; ++i) {
          store.save(config);
        }
      });
    };
    const pid_t one = save(store.first);
    const pid_t other = save(store.second);
    EXPECT_EQ(statusOf(one), 0);
    EXPECT_EQ(statusOf(other), 0);
    store.expectWhole();
    store.expectFree();
  });
}

}  // namespace
