// The built program, from outside.

#include <gtest/gtest.h>

#include "ctrl/configuration_keys.h"
#include "sim/device_recording.h"
#include "sim/files.h"
#include "sim/process.h"
#include "sim/program.h"
#include "sim/sysfs.h"
#include "support/named_case.h"
#include "support/private_world.h"

namespace {

using Words = std::vector<std::string>;

struct Outcome {
  sim::ProcessEnd end;
  std::string output;
  std::string errors;
};

Outcome explainedInto(const std::string& output, const Words& arguments,
                      const sim::ProcessOptions& options = {}) {
  constexpr const char* errors = "/sim/explain/errors";
  Words command = sim::commandOf("SIM_EXPLAIN", EXPLAIN_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  sim::writeFile(errors, "");
  const sim::ProcessEnd end = sim::runProcess(command, options, output, errors);
  return {end, "", sim::readFile(errors)};
}

Outcome explained(const Words& arguments, const sim::ProcessOptions& options = {}) {
  constexpr const char* output = "/sim/explain/output";
  sim::writeFile(output, "");
  Outcome outcome = explainedInto(output, arguments, options);
  outcome.output = sim::readFile(output);
  return outcome;
}

std::string folder(const std::string& name) {
  return sim::recordingsFolder() + "/" + name;
}

struct Ended : support::NamedCase {
  Words arguments;
  int status;
};

class MainStatus : public support::PrivateWorld, public testing::WithParamInterface<Ended> {};

INSTANTIATE_TEST_SUITE_P(
    Of, MainStatus,
    testing::Values(Ended{{"ServedDevice"}, {folder("mtp-hs")}, 0},
                    Ended{{"RefusedDevice"}, {folder("audio")}, 1}, Ended{{"NamedHub"}, {folder("hub")}, 1},
                    Ended{{"KeyboardWithoutNode"}, {"--class=all", folder("kbd-fs")}, 1},
                    Ended{{"OneOfSeveral"}, {folder("mtp-hs"), folder("audio")}, 1},
                    Ended{{"UnreadableBesideRefused"}, {folder("audio"), folder("none")}, 2},
                    Ended{{"WrongUsage"}, {"--bad"}, 2}, Ended{{"Help"}, {"--help"}, 0},
                    Ended{{"Version"}, {"--version"}, 0}));

TEST_P(MainStatus, SaysWhetherAllAreServed) {
  EXPECT_EQ(explained(GetParam().arguments).end, sim::ProcessEnd::exited(GetParam().status));
}

class Main : public support::PrivateWorld {
 protected:
  sim::Sysfs sysfs_;
};

TEST_F(Main, DoesNotCountHubsThatNobodyNamed) {
  const std::string hub = sysfs_.add(sim::UsbDevice{.deviceClass = "09"});
  EXPECT_EQ(explained({}).end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(explained({hub}).end, sim::ProcessEnd::exited(1));
}

TEST_F(Main, ExplainsWhatIsPluggedBelowATable) {
  sysfs_.add(sim::UsbDevice{});
  const Outcome outcome = explained({});
  EXPECT_TRUE(
      outcome.output.starts_with("Configuration: /vel/quor.conf is not there, so every key has its default\n"
                                 "Link speed: high. Classes: none.\n"
                                 "\n"
                                 "Device          Speed Kind      Verdict    Name\n"
                                 "1-1               480 generic   served     Synthetic Device\n"
                                 "\n"
                                 "Synthetic Device: high speed, 480 Mbit/s\n"))
      << outcome.output;
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(Main, PrintsNothingButJson) {
  const Outcome outcome = explained({"--json", folder("audio")});
  EXPECT_TRUE(outcome.output.starts_with("[\n{\"device\": ")) << outcome.output;
  EXPECT_TRUE(outcome.output.ends_with("}\n]\n"));
  EXPECT_EQ(outcome.errors, "usb_rx_explain: /vel/quor.conf is not there, so every key has its default\n");
}

TEST_F(Main, GoesOnBehindADeviceThatCannotBeRead) {
  const Outcome outcome = explained({"1-9", folder("audio")});
  EXPECT_EQ(outcome.errors, "usb_rx_explain: 1-9: there is no such device, folder or file\n");
  EXPECT_NE(outcome.output.find("QEMU USB Audio"), std::string::npos);
}

TEST_F(Main, PrintsNoHeadingAboveNothing) {
  EXPECT_EQ(explained({"1-9"}).output, "");
}

TEST_F(Main, EndsWhereTheDaemonWouldNotStart) {
  sim::writeFile(configurationPath, "[usb]\ndebug = everything\n");
  const Outcome outcome = explained({folder("audio")});
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(outcome.errors,
            "usb_rx_explain: the daemon does not start with this configuration: usb:debug = everything: "
            "\"everything\" is no word of it\n");
  EXPECT_EQ(outcome.output, "");
}

TEST_F(Main, BearsAStandardOutputThatNobodyReads) {
  sim::ProcessOptions options;
  options.standardOutput = sim::ProcessOptions::Output::brokenPipe;
  EXPECT_EQ(explained({folder("mtp-hs")}, options).end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(explained({folder("mtp-hs")}, options).errors, "");
}

TEST_F(Main, StillHasItsStatusForAStandardOutputThatIsClosed) {
  sim::ProcessOptions options;
  options.standardOutput = sim::ProcessOptions::Output::closed;
  EXPECT_EQ(explained({folder("mtp-hs")}, options).end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(explained({folder("audio")}, options).end, sim::ProcessEnd::exited(1));
}

TEST_F(Main, ReportsAStandardOutputThatIsFull) {
  const Outcome outcome = explainedInto("/dev/full", {folder("mtp-hs")});
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(outcome.errors, "usb_rx_explain: standard output: No space left on device\n");
}

TEST_F(Main, PrintsItsVersion) {
  EXPECT_EQ(explained({"--version"}).output, "usb_rx_explain " PROJECT_VERSION_TEXT "\n");
}

TEST_F(Main, KeepsToItselfWhatTheDaemonWouldLog) {
  sim::writeFile(configurationPath, "[usb]\ndebug = ctrl,generic\n");
  const Outcome outcome = explained({folder("mtp-hs")});
  EXPECT_EQ(outcome.errors, "");
  EXPECT_NE(outcome.output.find("usb_rx_generic --debug --stderr eth1 "), std::string::npos)
      << outcome.output;
}

}  // namespace
