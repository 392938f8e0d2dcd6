// The built program, from outside.

#include <gtest/gtest.h>

#include "ctrl/configuration_keys.h"
#include "sim/device_recording.h"
#include "sim/files.h"
#include "sim/process.h"
#include "sim/sysfs.h"
#include "support/named_case.h"
#include "support/private_world.h"
#include "unit/tools/explain/explain_run.h"

namespace {

using Words = std::vector<std::string>;

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
  EXPECT_EQ(runExplain(GetParam().arguments).end, sim::ProcessEnd::exited(GetParam().status));
}

class Main : public support::PrivateWorld {
 protected:
  sim::Sysfs sysfs_;
};

TEST_F(Main, DoesNotCountHubsThatNobodyNamed) {
  const std::string hub = sysfs_.add(sim::UsbDevice{.deviceClass = "09"});
  EXPECT_EQ(runExplain({}).end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(runExplain({hub}).end, sim::ProcessEnd::exited(1));
}

TEST_F(Main, ExplainsWhatIsPluggedBelowATable) {
  sysfs_.add(sim::UsbDevice{});
  const ExplainRun run = runExplain({});
  EXPECT_TRUE(
      run.output.starts_with("Configuration: /vel/quor.conf is not there, so every key has its default\n"
                             "Link speed: high. Classes: none.\n"
                             "\n"
                             "Device          Speed Kind      Verdict    Name\n"
                             "1-1               480 generic   served     Synthetic Device\n"
                             "\n"
                             "Synthetic Device: high speed, 480 Mbit/s\n"))
      << run.output;
  EXPECT_EQ(run.errors, "");
}

TEST_F(Main, PrintsNothingButJson) {
  const ExplainRun run = runExplain({"--json", folder("audio")});
  EXPECT_TRUE(run.output.starts_with("[\n{\"device\": ")) << run.output;
  EXPECT_TRUE(run.output.ends_with("}\n]\n"));
  EXPECT_EQ(run.errors, "usb_rx_explain: /vel/quor.conf is not there, so every key has its default\n");
}

TEST_F(Main, SaysOfAConfigurationThatCannotBeLoadedThatItHasNoEffect) {
  sim::writeFile(configurationPath, "[usb\nsmartcard = yes\n");
  const ExplainRun text = runExplain({folder("mtp-hs")});
  EXPECT_TRUE(text.output.starts_with(
      "Configuration: /vel/quor.conf cannot be loaded, so every key has its default\n"))
      << text;
  EXPECT_NE(text.output.find("usb:smartcard: rule off (default: the configuration cannot be loaded)\n"),
            std::string::npos)
      << text;
  const ExplainRun json = runExplain({"--json", folder("mtp-hs")});
  EXPECT_NE(json.output.find("\"state\": \"unloadable\""), std::string::npos) << json;
}

TEST_F(Main, GoesOnBehindADeviceThatCannotBeRead) {
  const ExplainRun run = runExplain({"1-9", folder("audio")});
  EXPECT_EQ(run.errors, "usb_rx_explain: 1-9: there is no such device, folder or file\n");
  EXPECT_NE(run.output.find("QEMU USB Audio"), std::string::npos);
}

TEST_F(Main, PrintsNoHeadingAboveNothing) {
  EXPECT_EQ(runExplain({"1-9"}).output, "");
}

TEST_F(Main, EndsWhereTheDaemonWouldNotStart) {
  sim::writeFile(configurationPath, "[usb]\ndebug = everything\n");
  const ExplainRun run = runExplain({folder("audio")});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(run.errors,
            "usb_rx_explain: the daemon does not start with this configuration: usb:debug = everything: "
            "\"everything\" is not one of its words\n");
  EXPECT_EQ(run.output, "");
}

TEST_F(Main, BearsAStandardOutputThatNobodyReads) {
  sim::ProcessOptions options;
  options.standardOutput = sim::ProcessOptions::Output::brokenPipe;
  EXPECT_EQ(runExplain({folder("mtp-hs")}, options).end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(runExplain({folder("mtp-hs")}, options).errors, "");
}

TEST_F(Main, ReportsAStandardOutputThatIsClosed) {
  sim::ProcessOptions options;
  options.standardOutput = sim::ProcessOptions::Output::closed;
  for (const Words& arguments : {Words{folder("mtp-hs")}, Words{"--json"}, Words{"--help"}}) {
    EXPECT_EQ(runExplain(arguments, options), refusal("standard output: Bad file descriptor"));
  }
}

TEST_F(Main, ReportsAStandardOutputThatIsFull) {
  const ExplainRun run = runExplainInto("/dev/full", {folder("mtp-hs")});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(run.errors, "usb_rx_explain: standard output: No space left on device\n");
}

TEST_F(Main, NeedsTheSpeedThatDescriptorsDoNotSayOnlyOnALinkOfFullSpeed) {
  const std::string file = "/sim/descriptors";
  sim::writeFile(file,
                 "12010002ff00004009120100000101020001"
                 "09022000010100c0320904000002ff0000000705810240000007050202400000");
  EXPECT_EQ(runExplain({file}).end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(
      runExplain({"--speed=full", file}),
      refusal(file + ": the descriptors do not say whether it is a high-speed device: give --device-speed"));
  EXPECT_EQ(runExplain({"--speed=full", "--device-speed=12", file}).end, sim::ProcessEnd::exited(0));
  const ExplainRun fast = runExplain({"--speed=full", "--device-speed=480", file});
  EXPECT_EQ(fast.end, sim::ProcessEnd::exited(1));
  EXPECT_NE(fast.output.find("un-named device: high speed, 480 Mbit/s\n"), std::string::npos) << fast;
  sim::writeFile(configurationPath, "[usb]\nhid_only = yes\n");
  EXPECT_EQ(runExplain({"--speed=full", file}).end, sim::ProcessEnd::exited(1)) << "another rule refuses it";
}

TEST_F(Main, PrintsItsVersion) {
  EXPECT_EQ(runExplain({"--version"}).output, "usb_rx_explain " PROJECT_VERSION_TEXT "\n");
}

TEST_F(Main, KeepsToItselfWhatTheDaemonWouldLog) {
  sim::writeFile(configurationPath, "[usb]\ndebug = ctrl,generic\n");
  const ExplainRun run = runExplain({folder("mtp-hs")});
  EXPECT_EQ(run.errors, "");
  EXPECT_NE(run.output.find("usb_rx_generic --debug --stderr eth1 "), std::string::npos) << run.output;
}

}  // namespace
