// What quor_config reports of the program that is configured for generic workers.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "sim/files.h"
#include "support/temporary_directory.h"
#include "unit/tools/quor_config_run.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* key = "apps:quor_usb_rx_generic";

/** "PATH=..." or "PATH", and where the program runs. */
sim::ProcessOptions surroundings(const std::string& path, const std::string& workingDirectory = "/") {
  sim::ProcessOptions options;
  options.environment = {path};
  options.workingDirectory = workingDirectory;
  return options;
}

class QuorConfigCheckProgram : public testing::Test {
 protected:
  /** A file in this folder, which exists then, that can be executed or cannot. */
  std::string addFile(const std::string& name, mode_t mode) {
    std::string path = directory / name;
    sim::writeFile(path, "#!/bin/sh\n");
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return path;
  }

  static Outcome checked(const std::string& program, const sim::ProcessOptions& options = {}) {
    const ConfiguredFile file("[apps]\nquor_usb_rx_generic=" + program + "\n");
    return quorConfig({"--file", file.path(), "check"}, options);
  }
  /** The same where `path` is the environment's PATH. */
  static Outcome checkedWithPath(const std::string& program, const std::string& path) {
    return checked(program, surroundings("PATH=" + path));
  }

  static Outcome missing(const std::string& program) {
    return notFoundOrDifferent("a program that is not there (the daemon ends when it starts it): " +
                               std::string(key) + " = " + program + "\n");
  }
  static Outcome notExecutable(const std::string& program) {
    return notFoundOrDifferent("a program that cannot be executed (the daemon ends when it starts it): " +
                               std::string(key) + " = " + program + "\n");
  }

  support::TemporaryDirectory directory;
};

TEST_F(QuorConfigCheckProgram, FindsAPath) {
  EXPECT_EQ(checked(addFile("worker", 0755)), done());
}

TEST_F(QuorConfigCheckProgram, NamesAPathThatIsNotThere) {
  EXPECT_EQ(checked(directory / "worker"), missing(directory / "worker"));
  const std::string belowAFile = addFile("file", 0755) + "/worker";
  EXPECT_EQ(checked(belowAFile), missing(belowAFile));
}

TEST_F(QuorConfigCheckProgram, NamesAPathThatCannotBeExecuted) {
  const std::string path = addFile("worker", 0644);
  EXPECT_EQ(checked(path), notExecutable(path));
  fs::create_directory(directory / "folder");
  EXPECT_EQ(checked(directory / "folder"), notExecutable(directory / "folder"));
}

TEST_F(QuorConfigCheckProgram, LooksForAPathInNoFolderOfPath) {
  addFile("below/worker", 0755);
  EXPECT_EQ(checkedWithPath("below/worker", directory.path()), missing("below/worker"));
}

TEST_F(QuorConfigCheckProgram, LooksForANameInAllFoldersOfPath) {
  addFile("second/worker", 0755);
  EXPECT_EQ(checkedWithPath("worker", directory / "first" + ":" + directory / "second"), done());
  EXPECT_EQ(checkedWithPath("worker", directory / "second" + ":" + directory / "first"), done());
  EXPECT_EQ(checkedWithPath("worker", directory / "first"), missing("worker"));
}

TEST_F(QuorConfigCheckProgram, LooksOnBehindANameThatCannotBeExecuted) {
  addFile("first/worker", 0644);
  const std::string path = directory / "first" + ":" + directory / "second";
  EXPECT_EQ(checkedWithPath("worker", path), notExecutable("worker"));
  addFile("second/worker", 0755);
  EXPECT_EQ(checkedWithPath("worker", path), done());
}

TEST_F(QuorConfigCheckProgram, TakesAnEmptyFolderForTheWorkingDirectory) {
  addFile("worker", 0755);
  for (const std::string path : {":/nowhere", "/nowhere:", "/nowhere::/nowhere", ""}) {
    EXPECT_EQ(checked("worker", surroundings("PATH=" + path, directory.path())), done()) << path;
  }
  EXPECT_EQ(checked("worker", surroundings("PATH=/nowhere", directory.path())), missing("worker"));
}

TEST_F(QuorConfigCheckProgram, LooksInTheStandardFoldersWherePathIsNotSet) {
  EXPECT_EQ(checked("sh", surroundings("PATH")), done());
  EXPECT_EQ(checked("no_such_worker", surroundings("PATH")), missing("no_such_worker"));
}

TEST_F(QuorConfigCheckProgram, LooksForNoneWhereNoneIsConfigured) {
  const ConfiguredFile file("[usb]\nsmartcard=1\n");
  EXPECT_EQ(quorConfig({"--file", file.path(), "check"}, surroundings("PATH=/nowhere")), done());
}

}  // namespace
