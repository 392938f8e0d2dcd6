#include "config/load.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/standard_output.h"
#include "support/temporary_directory.h"
#include "unit/config/config_file.h"
#include "unit/config/library_calls.h"

namespace {

// What a load that fails prints.
struct Failure {
  std::string output;
  std::string errors;
};

Failure failureOf(const std::string& path) {
  const support::CapturedStandardOutput output;
  const support::CapturedStandardError errors;
  const Config config = load(path);
  std::string messages;
  for (const std::string& write : errors.writes()) {
    messages += write;
  }
  return {output.text() + (config == nullptr ? "" : "a dictionary"), messages};
}

void expectRefusedAsNoFile(const std::string& path) {
  const Failure failure = failureOf(path);
  EXPECT_EQ(failure.output, "Config failed to open file '" + path + "\n");
  EXPECT_EQ(failure.errors, "");
}

// iniparser's messages on standard error have each of these parts, and the file's own path.
void expectRefused(const ConfigFile& file, std::initializer_list<std::string> parts) {
  const Failure failure = failureOf(file.path());
  EXPECT_EQ(failure.output, "");
  for (const std::string& part : parts) {
    EXPECT_NE(failure.errors.find(part), std::string::npos) << part << " is not in\n" << failure.errors;
  }
  EXPECT_EQ(failure.errors.find("/proc/"), std::string::npos) << failure.errors;
}

TEST(Load, KeepsOrderAndValuesAndMakesKeysLowerCase) {
  EXPECT_EQ(entriesOf(configOf("[Usb]\ndebug = ctrl,generic\nHID_Only=Yes\n[APPS]\nX=/bin/worker\n")),
            " usb usb:debug=ctrl,generic usb:hid_only=Yes apps apps:x=/bin/worker");
}

TEST(Load, PassesOverCommentsAndEmptyLines) {
  EXPECT_EQ(entriesOf(configOf("# first\n\n; second\n[usb]\n  # third\ndebug=ctrl\n\n")),
            " usb usb:debug=ctrl");
}

TEST(Load, TakesALastLineWithoutItsEndAndALongLine) {
  const std::string value(1000, 'x');
  EXPECT_EQ(entriesOf(configOf("[usb]\ndebug=" + value)), " usb usb:debug=" + value);
}

TEST(Load, ReturnsAnEmptyDictionaryForAnEmptyFileAndPrintsNothing) {
  const Failure none = failureOf(ConfigFile("").path());
  EXPECT_EQ(none.output, "a dictionary");
  EXPECT_EQ(none.errors, "");
}

TEST(Load, NamesWhatIsNoFile) {
  expectRefusedAsNoFile("/no/quor.conf");
  expectRefusedAsNoFile(support::TemporaryDirectory().path());
}

TEST(Load, NeedsThePermissionToReadAndNoOther) {
  const ConfigFile forbidden("[usb]\n");
  const ConfigFile readable("[usb]\ndebug=ctrl\n");
  ASSERT_EQ(chmod(forbidden.name(), 0), 0);
  ASSERT_EQ(chmod(readable.name(), 0400), 0);
  support::inChild([&] {
    support::dropPrivileges();
    expectRefusedAsNoFile(forbidden.path());
    EXPECT_EQ(entriesOf(load(readable.path())), " usb usb:debug=ctrl");
  });
}

TEST(Load, RefusesAPathOf255CharactersWithoutAMessage) {
  const Failure failure = failureOf("/" + std::string(254, 'x'));
  EXPECT_EQ(failure.output, "");
  EXPECT_EQ(failure.errors, "");
}

TEST(Load, NamesTheFileAndTheLineOfEachSyntaxError) {
  const ConfigFile file("[usb\n[apps]\nx=1\nno setting\n");
  expectRefused(file, {"syntax error in " + file.path() + " (1)", file.path() + " (4)", "no setting"});
  EXPECT_EQ(entriesOf(configOf("[usb]\ndebug=ctrl\n")), " usb usb:debug=ctrl") << "the next load";
}

TEST(Load, NamesAFileWithPercentSignsAsItIs) {
  const ConfigFile file("100%d%s\n", "100%s%n.conf");
  expectRefused(file, {"in " + file.path() + " (1)", "100%d%s"});
}

TEST(Load, PrintsALongFaultyLineWholeAndNamesOneThatIsTooLong) {
  const std::string line = std::string(450, 'x') + " " + std::string(450, 'y');
  const ConfigFile faulty(line + "\n");
  expectRefused(faulty, {"in " + faulty.path() + " (1)", line});
  const ConfigFile tooLong("[usb]\ndebug=" + std::string(2000, 'x') + "\n");
  expectRefused(tooLong, {"line too long in " + tooLong.path() + " (2)"});
}

TEST(Load, TakesWhatAPipeHolds) {
  const std::string text = "[usb]\nsmartcard=yes\n";
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(ends[1]);
  EXPECT_EQ(entriesOf(load("/proc/self/fd/" + std::to_string(ends[0]))), entriesOf(configOf(text)));
  close(ends[0]);
}

TEST(Load, RefusesAFileThatCannotBeReadToItsEnd) {
  const support::TemporaryDirectory directory;
  std::filesystem::create_symlink("/proc/self/mem", directory / "quor.conf");
  const Failure failure = failureOf(directory / "quor.conf");
  EXPECT_EQ(failure.output, "");
  EXPECT_EQ(failure.errors, "");
}

void limitMemory(rlim_t bytes) {
  const rlimit limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
  setrlimit(RLIMIT_AS, &limit);
}

bool hasComplained = false;

// Whether a load complains and returns something while the process may take no more than `bytes` in addition.
bool complainsAndReturnsWithin(rlim_t bytes, const ConfigFile& file) {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  limitMemory(pages * static_cast<rlim_t>(getpagesize()) + bytes);
  hasComplained = false;
  ConfigDictionary* loaded = configLoad(file.name(), [](const char*) { hasComplained = true; });
  limitMemory(RLIM_INFINITY);
  return configFree(loaded) == 0 && hasComplained;
}

TEST(Load, ReturnsNothingOfAFileWhenMemoryRunsOut) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer needs its own memory";
#endif
  std::string content = "[usb]\n";
  for (int i = 0; i < 5000; ++i) {
    content += "key_" + std::to_string(i) + " = x\n";
  }
  const ConfigFile file(content);
  support::inChild([&] {
    for (rlim_t bytes = 0; bytes <= 256U << 10U; bytes += 32U << 10U) {
      EXPECT_FALSE(complainsAndReturnsWithin(bytes, file)) << bytes;
    }
  });
}

// What a reporter got; it has no place of its own to keep it.
support::Lines reported;

void report(const char* complaint) {
  reported.emplace_back(complaint);
}

TEST(Load, GivesEachComplaintToItsReporterInPlaceOfStandardError) {
  const ConfigFile file("[usb\n[apps]\nx=1\nno setting\n");
  reported.clear();
  const support::CapturedStandardError errors;
  EXPECT_EQ(configLoad(file.name(), report), nullptr);
  EXPECT_EQ(reported,
            (support::Lines{"iniparser: syntax error in " + file.path() + " (1):\n-> [usb\n",
                            "iniparser: syntax error in " + file.path() + " (4):\n-> no setting\n"}));
  EXPECT_EQ(errors.writes(), support::Lines());
  EXPECT_EQ(configLoad(file.name()), nullptr);
  EXPECT_EQ(errors.writes(), reported) << "without a reporter";
}

TEST(Load, HoldsASharedLockWhileItParses) {
  const ConfigFile file("[usb]\n");
  std::vector<int> operations;
  bool heldAtTheEnd = false;
  {
    const support::Replaced locking(library::flock, [&](int fd, int operation) {
      operations.push_back(operation);
      heldAtTheEnd = operation == LOCK_UN && !couldLock(file.path(), LOCK_EX);
      return library::flock.real(fd, operation);
    });
    EXPECT_EQ(entriesOf(load(file.path())), " usb");
  }
  EXPECT_EQ(operations, (std::vector<int>{LOCK_SH, LOCK_UN}));
  EXPECT_TRUE(heldAtTheEnd);
  EXPECT_TRUE(couldLock(file.path(), LOCK_EX));
}

TEST(Load, ReadsBesideOtherReaders) {
  const ConfigFile file("[usb]\n");
  const LockHolder reader(file.path(), LOCK_SH);
  EXPECT_EQ(entriesOf(load(file.path())), " usb");
}

TEST(Load, LeavesNothingOpen) {
  const ConfigFile bad("nothing\n");
  const int next = support::nextDescriptor();
  configOf("[usb]\n");
  failureOf(bad.path());
  EXPECT_EQ(support::nextDescriptor(), next);
  EXPECT_TRUE(couldLock(bad.path(), LOCK_EX));
}

TEST(Load, ReadsTheFileThatAWriterPutThereWhileItWaitedForTheLock) {
  const ConfigFile file("[old]\n");
  const LockHolder writer(file.path(), LOCK_EX);
  const auto saveAndRelease = [&] {
    file.replaceBy("[new]\n");
    writer.release();
  };
  EXPECT_EQ(whileItAsksForItsLock([&] { return entriesOf(load(file.path())); }, saveAndRelease), " new");
}

TEST(LoadFree, ReturnsWhetherThereWasADictionary) {
  EXPECT_EQ(configFree(configOf("[usb]\n").release()), 0);
  EXPECT_EQ(configFree(nullptr), -1);
}

}  // namespace
