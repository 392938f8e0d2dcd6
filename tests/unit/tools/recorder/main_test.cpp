#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "sim/files.h"
#include "sim/unit.h"
#include "tools/recorder/recording_text.h"
#include "unit/tools/recorder/recorder_program.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* devices = "/sim/devices";

class MainOfTheRecorder : public testing::Test {
 protected:
  sim::Unit unit;
  sim::DeviceRecording mouse = sim::loadRecording("mouse-fs");

  MainOfTheRecorder() { fs::create_directory(devices); }

  /** Plugs the mouse in and takes it out when the program says so. */
  sim::ProcessEnd recordMouse(RecorderProgram& program) {
    program.waitForLine("Plug the device in.");
    unit.plug(mouse);
    program.waitForLine("Take it out.");
    unit.unplug(mouse);
    return program.waitForEnd();
  }
};

TEST_F(MainOfTheRecorder, RecordsTheDeviceThatIsPluggedInAndTakenOutWhenItSaysSo) {
  RecorderProgram program({devices, "new", "a mouse, full speed"});

  EXPECT_EQ(recordMouse(program), sim::ProcessEnd::exited(0));
  EXPECT_EQ(
      program.standardError(),
      "Plug the device in.\nTake it out.\nRecorded in /sim/devices/new. Look through it for anything that "
      "nobody else need know before you pass it on.\n");
  EXPECT_EQ(recorder::readAbout("/sim/devices/new/about.txt")["description"], "a mouse, full speed");
  EXPECT_EQ(recorder::readTree("/sim/devices/new/tree.txt").size(), mouse.tree.size());
  EXPECT_EQ(recorder::readEvents("/sim/devices/new/plug.txt").size(), mouse.plugEvents.size());
  EXPECT_EQ(recorder::readEvents("/sim/devices/new/unplug.txt").size(), mouse.unplugEvents.size());
}

TEST_F(MainOfTheRecorder, DescribesADeviceByItsProductTextWhereNobodyDoes) {
  RecorderProgram program({devices, "new"});

  EXPECT_EQ(recordMouse(program), sim::ProcessEnd::exited(0));
  EXPECT_EQ(recorder::readAbout("/sim/devices/new/about.txt")["description"], mouse.product);
}

TEST_F(MainOfTheRecorder, WritesNothingOfADeviceThatIsTakenOutTooEarly) {
  RecorderProgram program({devices, "new"});
  program.waitForLine("Plug the device in.");
  unit.plug(mouse);
  unit.unplug(mouse);

  EXPECT_EQ(program.waitForEnd(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(program.standardError(),
            "Plug the device in.\nusb_rx_recorder: the device was taken out before everything was quiet: " +
                mouse.devpath() + "\n");
  EXPECT_FALSE(fs::exists("/sim/devices/new"));
}

TEST_F(MainOfTheRecorder, SaysWhatMayHelpWhenItHearsNothingForAWhileAndListensOn) {
  RecorderProgram program({devices, "new"});
  program.waitForLine("Plug the device in.");
  program.waitForLine("Nothing has been heard yet. What may help:", sim::Deadline(30));

  EXPECT_EQ(recordMouse(program), sim::ProcessEnd::exited(0));
  EXPECT_TRUE(fs::exists("/sim/devices/new"));
}

TEST_F(MainOfTheRecorder, ExplainsItself) {
  RecorderProgram program({"--help"});

  EXPECT_EQ(program.waitForEnd(), sim::ProcessEnd::exited(0));
  EXPECT_EQ(program.standardError(), "");
  const std::string help = program.standardOutput();
  EXPECT_EQ(help.find("Usage: usb_rx_recorder FOLDER NAME [DESCRIPTION]\n"), 0U);
  EXPECT_NE(help.find("\nExit status: 0 recorded, 1 failure, 2 wrong usage.\n"), std::string::npos);
}

TEST_F(MainOfTheRecorder, AsksForNothingWhenTheNameIsTaken) {
  sim::writeFile("/sim/devices/old/about.txt", "somebody's\n");
  RecorderProgram program({devices, "old"});

  EXPECT_EQ(program.waitForEnd(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(program.standardError(),
            "usb_rx_recorder: there is something of that name already: /sim/devices/old\n");
  EXPECT_EQ(sim::readFile("/sim/devices/old/about.txt"), "somebody's\n");
}

TEST_F(MainOfTheRecorder, PrintsItsVersion) {
  RecorderProgram program({"--version"});

  EXPECT_EQ(program.waitForEnd(), sim::ProcessEnd::exited(0));
  EXPECT_EQ(RecorderProgram::standardOutput(), "usb_rx_recorder " PROJECT_VERSION "\n");
  EXPECT_EQ(program.standardError(), "");
}

class MainWithWrongArguments : public testing::TestWithParam<std::vector<std::string>> {};

INSTANTIATE_TEST_SUITE_P(Wrong, MainWithWrongArguments,
                         testing::Values(std::vector<std::string>{}, std::vector<std::string>{devices},
                                         std::vector<std::string>{devices, "a", "b", "c"},
                                         std::vector<std::string>{"--help", "a", "b", "c"},
                                         std::vector<std::string>{devices, ""},
                                         std::vector<std::string>{devices, ".."},
                                         std::vector<std::string>{devices, "a/b"}));

TEST_P(MainWithWrongArguments, PrintsTheUsage) {
  const sim::Unit unit;
  RecorderProgram program(GetParam());

  EXPECT_EQ(program.waitForEnd(), sim::ProcessEnd::exited(2));
  EXPECT_EQ(program.standardError(), "Usage: usb_rx_recorder FOLDER NAME [DESCRIPTION]\n");
}

}  // namespace
