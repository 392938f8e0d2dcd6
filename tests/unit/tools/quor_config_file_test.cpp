// Which file quor_config works on, and what it reports of one that it cannot work on.

#include <gtest/gtest.h>
#include <linux/securebits.h>
#include <sys/prctl.h>

#include <filesystem>
#include <string>

#include "sim/files.h"
#include "support/child.h"
#include "unit/tools/quor_config_run.h"

namespace {

// Without SECBIT_NOROOT, the programs that root starts get root's privileges again.
void dropPrivilegesOfProgramsToo() {
  prctl(PR_SET_SECUREBITS, SECBIT_NOROOT);
  support::dropPrivileges();
}

TEST(QuorConfigFile, IsTheUnitsConfigurationUnlessGiven) {
  support::inPrivateWorld([] {
    EXPECT_EQ(quorConfig({"set", "usb:debug", "ctrl"}), done());
    EXPECT_EQ(quorConfig({"get", "usb:debug"}), done("ctrl\n"));
    EXPECT_NE(sim::readFile("/vel/quor.conf").find("[usb]\n"), std::string::npos);
  });
}

TEST(QuorConfigFile, IsTheGivenOneOnly) {
  support::inPrivateWorld([] {
    sim::writeFile("/vel/quor.conf", "[usb]\ndebug=ctrl\n");
    const ConfiguredFile file("[usb]\ndebug=all\n");
    EXPECT_EQ(file.get("usb:debug"), done("all\n"));
    EXPECT_EQ(file.run({"set", "usb:debug", "none"}), done());
    EXPECT_EQ(sim::readFile("/vel/quor.conf"), "[usb]\ndebug=ctrl\n");
  });
}

TEST(QuorConfigFile, MayBeInTheWorkingDirectory) {
  const support::TemporaryDirectory directory;
  sim::ProcessOptions there;
  there.workingDirectory = directory.path();
  EXPECT_EQ(quorConfig({"--file", "own.conf", "set", "usb:x", "1"}, there), done());
  EXPECT_EQ(quorConfig({"--file", directory / "own.conf", "get", "usb:x"}), done("1\n"));
}

/** A command with arguments that fit it; another file is an empty one. */
Arguments commandOn(const std::string& name) {
  if (name == "get" || name == "unset" || name == "add-section") {
    return {name, "usb:x"};
  }
  if (name == "merge" || name == "diff") {
    return {name, "/dev/null"};
  }
  return name == "set" ? Arguments{name, "usb:x", "1"} : Arguments{name};
}

TEST(QuorConfigFile, IsNotHalfReadWhereItCannotBeReadToItsEnd) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "quor.conf";
  std::filesystem::create_symlink("/proc/self/mem", path);  // its first byte cannot be read
  EXPECT_EQ(quorConfig({"--file", path, "get", "usb:x"}), failed("not a configuration file: " + path));
  EXPECT_EQ(quorConfig({"--file", path, "set", "usb:x", "1"}), failed("not a configuration file: " + path));
}

TEST(QuorConfigFile, IsReportedMissing) {
  const ConfiguredFile file;
  for (const char* name : {"get", "unset", "print", "json", "sed", "diff"}) {
    EXPECT_EQ(file.run(commandOn(name)), failed("No such file or directory: " + file.path())) << name;
  }
  EXPECT_FALSE(file.exists());
}

TEST(QuorConfigFile, IsReportedMissingWhenItIsTheOther) {
  const ConfiguredFile file("[usb]\nx=1\n");
  EXPECT_EQ(file.run({"diff", "/no/other"}), failed("No such file or directory: /no/other"));
  EXPECT_EQ(file.run({"merge", "/no/other"}), failed("No such file or directory: /no/other"));
  EXPECT_EQ(file.content(), "[usb]\nx=1\n");
}

TEST(QuorConfigFile, ThatMayNotBeReadIsReported) {
  const ConfiguredFile file("[usb]\nx=1\n");
  std::filesystem::permissions(file.path(), std::filesystem::perms::none);
  support::inChild([&] {
    dropPrivilegesOfProgramsToo();
    EXPECT_EQ(file.get("usb:x"), failed("Permission denied: " + file.path()));
    EXPECT_EQ(file.run({"set", "usb:x", "2"}), failed("Permission denied: " + file.path()));
    EXPECT_EQ(file.run({"check"}), failed("Permission denied: " + file.path()));
  });
}

void expectNoConfiguration(const ConfiguredFile& file, const Arguments& arguments) {
  const Outcome outcome = file.run(arguments);
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2)) << arguments[0];
  EXPECT_EQ(outcome.output, "") << arguments[0];
  EXPECT_NE(outcome.errors.find(file.path() + " (1)"), std::string::npos) << outcome.errors;
  const std::string fault = "quor_config: not a configuration file: " + file.path() + "\n";
  EXPECT_NE(outcome.errors.find(fault), std::string::npos) << outcome.errors;
}

TEST(QuorConfigFile, ThatIsNoConfigurationIsReported) {
  const ConfiguredFile file("no setting\n");
  for (const char* name :
       {"get", "set", "unset", "add-section", "merge", "diff", "print", "json", "sed", "check"}) {
    expectNoConfiguration(file, commandOn(name));
  }
  EXPECT_EQ(file.content(), "no setting\n");
}

void expectOnlyErrors(const Outcome& outcome, const std::string& path, const std::string& fault) {
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.errors,
            "Config failed to open file '" + path + "\nquor_config: " + fault + ": " + path + "\n");
}

TEST(QuorConfigFile, ThatCannotBeMadeIsReported) {
  expectOnlyErrors(quorConfig({"--file", "/no/x", "set", "a:b", "c"}), "/no/x", "cannot be saved");
}

TEST(QuorConfigFile, ThatIsADirectoryIsReported) {
  const support::TemporaryDirectory directory;
  for (const Arguments& command : {Arguments{"get", "a:b"}, {"set", "a:b", "c"}, {"check"}}) {
    Arguments arguments{"--file", directory.path()};
    arguments.insert(arguments.end(), command.begin(), command.end());
    expectOnlyErrors(quorConfig(arguments), directory.path(), "not a configuration file");
  }
}

TEST(QuorConfigFile, ThatMayNotBeWrittenIsReported) {
  const ConfiguredFile file("[usb]\nx=1\n");
  std::filesystem::permissions(file.path(), std::filesystem::perms(0444));
  support::inChild([&] {
    dropPrivilegesOfProgramsToo();
    expectOnlyErrors(file.run({"set", "usb:x", "2"}), file.path(), "cannot be saved");
  });
}

}  // namespace
