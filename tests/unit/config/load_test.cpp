#include "config/load.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <future>
#include <string>
#include <utility>
#include <vector>

#include "support/child.h"
#include "unit/config/captured_output.h"
#include "unit/config/config_file.h"
#include "unit/config/loaded_config.h"
#include "unit/config/lock_calls.h"

namespace {

// What a load that fails prints.
struct Failure {
  std::string output;
  std::string errors;
};

Failure failureOf(const std::string& path) {
  const CapturedOutput output(stdout);
  const CapturedOutput errors(stderr);
  const Config config(configLoad(path.c_str()));
  return {output.text() + (config == nullptr ? "" : "a dictionary"), errors.text()};
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// One message of iniparser's for each fault, on standard error, that names the file by its path.
void expectToldOnStandardError(const ConfigFile& file, const std::vector<std::string>& faults) {
  const Failure failure = failureOf(file.path());
  EXPECT_EQ(failure.output, "");
  for (const std::string& fault : faults) {
    EXPECT_TRUE(contains(failure.errors, fault)) << fault << " is not in\n" << failure.errors;
  }
  EXPECT_FALSE(contains(failure.errors, "/proc/")) << failure.errors;
}

TEST(ConfigLoad, GivesTheSettingsOfTheFile) {
  const ConfigFile file(
      "[usb]\ndebug = ctrl,generic\nclasses=all\n[apps]\nquor_usb_rx_generic=/bin/worker\n");
  const Config config = load(file);
  EXPECT_EQ(textOf(config, "usb:debug"), "ctrl,generic");
  EXPECT_EQ(textOf(config, "usb:classes"), "all");
  EXPECT_EQ(textOf(config, "apps:quor_usb_rx_generic"), "/bin/worker");
}

TEST(ConfigLoad, KeepsTheOrderAndMakesSectionsAndKeysLowerCase) {
  const ConfigFile file("[Usb]\nHID_Only=Yes\nclasses=ALL\n[APPS]\nX=1\n");
  EXPECT_EQ(entriesOf(load(file)), (Entries{{"usb", "(section)"},
                                            {"usb:hid_only", "Yes"},
                                            {"usb:classes", "ALL"},
                                            {"apps", "(section)"},
                                            {"apps:x", "1"}}));
}

TEST(ConfigLoad, PassesOverCommentsAndEmptyLines) {
  const ConfigFile file("# first\n\n; second\n[usb]\n  # third\ndebug=ctrl\n\n");
  EXPECT_EQ(entriesOf(load(file)), (Entries{{"usb", "(section)"}, {"usb:debug", "ctrl"}}));
}

TEST(ConfigLoad, TakesALastLineWithoutItsEnd) {
  EXPECT_EQ(textOf(load(ConfigFile("[usb]\ndebug=ctrl")), "usb:debug"), "ctrl");
}

TEST(ConfigLoad, GivesAnEmptyDictionaryOfAnEmptyFile) {
  const Config config = load(ConfigFile(""));
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(entriesOf(config), Entries());
}

TEST(ConfigLoad, SaysNothingWhenAllIsWell) {
  const Failure none = failureOf(ConfigFile("[usb]\ndebug=ctrl\n").path());
  EXPECT_EQ(none.output, "a dictionary");
  EXPECT_EQ(none.errors, "");
}

TEST(ConfigLoad, NamesTheFileThatIsNotThere) {
  const Failure failure = failureOf("/no/quor.conf");
  EXPECT_EQ(failure.output, "Config failed to open file '/no/quor.conf\n");
  EXPECT_EQ(failure.errors, "");
}

TEST(ConfigLoad, NamesTheDirectoryInAFilesPlace) {
  const support::TemporaryDirectory directory;
  const Failure failure = failureOf(directory.path());
  EXPECT_EQ(failure.output, "Config failed to open file '" + directory.path() + "\n");
  EXPECT_EQ(failure.errors, "");
}

TEST(ConfigLoad, NamesTheFileThatIsForbidden) {
  const ConfigFile file("[usb]\n");
  ASSERT_EQ(chmod(file.name(), 0), 0);
  EXPECT_EQ(support::reportOfUnprivilegedChild([&] { return failureOf(file.path()).output; }),
            "Config failed to open file '" + file.path() + "\n");
}

TEST(ConfigLoad, NeedsNoPrivilegeForAFileThatMayBeRead) {
  const ConfigFile file("[usb]\ndebug=ctrl\n");
  EXPECT_EQ(support::reportOfUnprivilegedChild([&] { return textOf(load(file), "usb:debug"); }), "ctrl");
}

TEST(ConfigLoad, RefusesAPathOf255CharactersWithoutAWord) {
  const Failure failure = failureOf("/" + std::string(254, 'x'));
  EXPECT_EQ(failure.output, "");
  EXPECT_EQ(failure.errors, "");
}

TEST(ConfigLoad, NamesTheFileAndTheLineOfASyntaxError) {
  const ConfigFile file("[usb]\ndebug=ctrl\nthis is no setting\n");
  expectToldOnStandardError(file, {"syntax error in " + file.path() + " (3)", "this is no setting"});
}

TEST(ConfigLoad, NamesEverySyntaxError) {
  const ConfigFile file("[usb\n[apps]\nx=1\nnothing\n");
  expectToldOnStandardError(file, {"in " + file.path() + " (1)", "in " + file.path() + " (4)"});
}

TEST(ConfigLoad, NamesAFileWithPercentSignsAsItIs) {
  const ConfigFile file("100%d%s\n", "100%s%n.conf");
  expectToldOnStandardError(file, {"in " + file.path() + " (1)", "100%d%s"});
}

TEST(ConfigLoad, ShowsALongFaultyLineWhole) {
  const std::string line = std::string(450, 'x') + " " + std::string(450, 'y');
  const ConfigFile file(line + "\n");
  expectToldOnStandardError(file, {"in " + file.path() + " (1)", line});
}

TEST(ConfigLoad, NamesTheFileAndTheLineThatIsTooLong) {
  const ConfigFile file("[usb]\ndebug=" + std::string(2000, 'x') + "\n");
  expectToldOnStandardError(file, {"line too long in " + file.path() + " (2)"});
}

TEST(ConfigLoad, TakesALongLineWithinTheLimit) {
  const std::string value(1000, 'x');
  EXPECT_EQ(textOf(load(ConfigFile("[usb]\ndebug=" + value + "\n")), "usb:debug"), value);
}

TEST(ConfigLoad, LoadsAgainAfterAFileItRefused) {
  failureOf(ConfigFile("nothing\n").path());
  EXPECT_EQ(textOf(load(ConfigFile("[usb]\ndebug=ctrl\n")), "usb:debug"), "ctrl");
}

TEST(ConfigLoad, AsksForASharedLockAndReleasesIt) {
  const ConfigFile file("[usb]\n");
  std::vector<int> operations;
  {
    const support::Replaced locking(library::flock, [&](int fd, int operation) {
      operations.push_back(operation);
      return library::flock.real(fd, operation);
    });
    const Config config = load(file);
  }
  EXPECT_EQ(operations, (std::vector<int>{LOCK_SH, LOCK_UN}));
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
}

TEST(ConfigLoad, ReadsBesideOtherReaders) {
  const ConfigFile file("[usb]\ndebug=ctrl\n");
  const LockHolder reader(file.path(), LOCK_SH);
  EXPECT_EQ(textOf(load(file), "usb:debug"), "ctrl");
}

TEST(ConfigLoad, HoldsTheLockWhileItParses) {
  const ConfigFile file("[usb]\n");
  bool heldAtTheEnd = false;
  const support::Replaced locking(library::flock, [&](int fd, int operation) {
    heldAtTheEnd = operation == LOCK_UN && !couldLock(file.path(), LOCK_EX);
    return library::flock.real(fd, operation);
  });
  const Config config = load(file);
  EXPECT_TRUE(heldAtTheEnd);
}

TEST(ConfigLoad, LeavesNothingOpen) {
  const ConfigFile good("[usb]\n");
  const ConfigFile bad("nothing\n");
  const int next = nextDescriptor();
  load(good);
  EXPECT_EQ(nextDescriptor(), next);
  failureOf(bad.path());
  EXPECT_EQ(nextDescriptor(), next);
  EXPECT_TRUE(couldLock(bad.path(), LOCK_EX));
}

TEST(ConfigLoad, ReadsTheFileThatAWriterPutThereWhileItWaitedForTheLock) {
  const ConfigFile file("[usb]\ndebug=old\n");
  const LockHolder writer(file.path(), LOCK_EX);
  std::promise<void> locking;
  bool announced = false;
  const support::Replaced announcing(library::flock, [&](int fd, int operation) {
    if (!std::exchange(announced, true)) {
      locking.set_value();
    }
    return library::flock.real(fd, operation);
  });
  auto debug = std::async(std::launch::async, [&] { return textOf(load(file), "usb:debug"); });
  locking.get_future().wait();
  file.replaceBy("[usb]\ndebug=new\n");
  writer.release();
  EXPECT_EQ(debug.get(), "new");
}

TEST(ConfigFree, TellsWhetherThereWasADictionary) {
  EXPECT_EQ(configFree(configLoad(ConfigFile("[usb]\ndebug=ctrl\n").name())), 0);
  EXPECT_EQ(configFree(nullptr), -1);
}

}  // namespace
