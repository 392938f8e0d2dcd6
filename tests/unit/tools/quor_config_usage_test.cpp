// How quor_config is called.

#include <gtest/gtest.h>

#include <string>

#include "unit/tools/quor_config_run.h"

namespace {

std::string help() {
  return quorConfig({"--help"}).output;
}

void expectUsage(const Arguments& arguments) {
  EXPECT_EQ(quorConfig(arguments), (Outcome{sim::ProcessEnd::exited(2), "", help()}));
}

TEST(QuorConfigUsage, ExplainsItself) {
  const Outcome outcome = quorConfig({"--help"});
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(outcome.output.find(
                "Usage: quor_config [--file PATH] COMMAND\n       quor_config --help | --version\n"),
            0U);
  for (const char* command : {"get KEY", "set KEY VALUE", "unset KEY", "add-section NAME", "merge OTHER",
                              "diff OTHER", "print", "json", "sed", "check [--all]",
                              "Exit status: 0 done, 1 not found or different, 2 wrong usage or failure.\n"}) {
    EXPECT_NE(outcome.output.find(command), std::string::npos) << command;
  }
}

TEST(QuorConfigUsage, PrintsItsVersion) {
  EXPECT_EQ(quorConfig({"--version"}), done("quor_config " PROJECT_VERSION "\n"));
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
  refused({"check", "--all", "more"});
  refused({"print", "--all"});
  refused({"set", "usb:x"});
  refused({"set", "usb:x", "1", "more"});
  EXPECT_EQ(file.content(), "[usb]\nx=1\n");
}

}  // namespace
