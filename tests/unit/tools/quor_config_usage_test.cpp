// How quor_config is called, and what it reports when it cannot work.

#include <gtest/gtest.h>
#include <linux/securebits.h>
#include <sys/prctl.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "sim/files.h"
#include "support/child.h"
#include "unit/tools/quor_config_run.h"

namespace {

using Output = sim::ProcessOptions::Output;

std::string help() {
  return quorConfig({"--help"}).output;
}

void expectUsage(const Arguments& arguments) {
  EXPECT_EQ(quorConfig(arguments), (Outcome{sim::ProcessEnd::exited(2), "", help()}));
}

// Root's programs have root's privileges again, unless this is said before.
void dropPrivilegesOfProgramsToo() {
  prctl(PR_SET_SECUREBITS, SECBIT_NOROOT);
  support::dropPrivileges();
}

TEST(QuorConfigUsage, ExplainsItself) {
  const Outcome outcome = quorConfig({"--help"});
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(outcome.output.find("Usage: quor_config [--file PATH] COMMAND\n"), 0U);
  for (const char* command : {"get KEY", "set KEY VALUE", "unset KEY", "add-section NAME", "merge OTHER",
                              "diff OTHER", "print", "json", "sed", "check",
                              "Exit status: 0 done, 1 not found or different, 2 wrong usage or failure.\n"}) {
    EXPECT_NE(outcome.output.find(command), std::string::npos) << command;
  }
}

TEST(QuorConfigUsage, NeedsACommand) {
  expectUsage({});
  expectUsage({"--file"});
  expectUsage({"--file", "quor.conf"});
}

TEST(QuorConfigUsage, RefusesAnUnknownCommand) {
  expectUsage({"read"});
  expectUsage({""});
  expectUsage({"GET", "usb:debug"});
  expectUsage({"-h"});
  expectUsage({"get", "--file", "quor.conf", "usb:debug"});
}

TEST(QuorConfigUsage, RefusesTooFewAndTooManyArguments) {
  const ConfiguredFile file("[usb]\nx=1\n");
  const auto refused = [&file](Arguments arguments) {
    arguments.insert(arguments.begin(), {"--file", file.path()});
    expectUsage(arguments);
  };
  for (const char* withOne : {"get", "unset", "add-section", "merge", "diff"}) {
    refused({withOne});
    refused({withOne, "usb:x", "more"});
  }
  for (const char* withNone : {"print", "json", "sed", "check"}) {
    refused({withNone, "more"});
  }
  refused({"set", "usb:x"});
  refused({"set", "usb:x", "1", "more"});
  EXPECT_EQ(file.content(), "[usb]\nx=1\n");
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

TEST(QuorConfigStandardOutput, ThatIsFullIsReported) {
  const ConfiguredFile file("[usb]\nx=1\nfrob=1\n");
  const ConfiguredFile other("[usb]\nx=2\n");
  for (const Arguments& arguments :
       {Arguments{"get", "usb:x"}, {"print"}, {"json"}, {"sed"}, {"check"}, {"diff", other.path()}}) {
    Arguments all{"--file", file.path()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(quorConfigInto("/dev/full", all), failed("No space left on device: standard output"))
        << arguments[0];
  }
  EXPECT_EQ(quorConfigInto("/dev/full", {"--help"}), failed("No space left on device: standard output"));
}

sim::ProcessOptions withOutput(sim::ProcessOptions::Output output) {
  sim::ProcessOptions options;
  options.standardOutput = output;
  options.ignoredSignals = {SIGPIPE};
  return options;
}

TEST(QuorConfigStandardOutput, ThatIsClosedOrHasNoReaderIsReported) {
  const ConfiguredFile file("[usb]\nx=1\n");
  EXPECT_EQ(quorConfig({"--file", file.path(), "get", "usb:x"}, withOutput(Output::closed)),
            failed("Bad file descriptor: standard output"));
  EXPECT_EQ(quorConfig({"--file", file.path(), "json"}, withOutput(Output::brokenPipe)),
            failed("Broken pipe: standard output"));
}

TEST(QuorConfigStandardOutput, IsNotNeededForAChange) {
  const ConfiguredFile file("[usb]\nx=1\n");
  EXPECT_EQ(quorConfig({"--file", file.path(), "set", "usb:x", "2"}, withOutput(Output::closed)), done());
  EXPECT_EQ(file.get("usb:x"), done("2\n"));
}

}  // namespace
