// usb_rx_explain --save, run by a person.

#include <gtest/gtest.h>
#include <linux/securebits.h>
#include <sys/prctl.h>

#include <filesystem>
#include <string>

#include "sim/files.h"
#include "sim/recording_views.h"
#include "sim/unit.h"
#include "support/child.h"
#include "support/temporary_directory.h"
#include "tools/recorder/recording_input.h"
#include "unit/tools/explain/explain_run.h"

namespace {

namespace fs = std::filesystem;

/** Of this process, and of what it starts. */
void dropPrivileges() {
  prctl(PR_SET_SECUREBITS, SECBIT_NOROOT);
  support::dropPrivileges();
}

/** The text with the second argument in place of the first. */
std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

/** A mouse at the port 1-5. */
class MainSave : public testing::Test {
 protected:
  sim::Unit unit;
  sim::DeviceRecording mouse = sim::loadRecording("mouse-fs");
  support::TemporaryDirectory devices;
  std::string folder = devices / "mouse";

  MainSave() { unit.sysfs.layOut(mouse); }

  [[nodiscard]] ExplainRun save(const std::string& device) const {
    return runExplain({"--save", folder, device});
  }
  [[nodiscard]] ExplainRun saved() const {
    return {sim::ProcessEnd::exited(0),
            "Saved in " + folder +
                ". Look through it for anything that nobody else need know before you pass it on.\n",
            ""};
  }
};

TEST_F(MainSave, KeepsTheDeviceOfANameOrADirectory) {
  for (const std::string device : {"1-5", "/sys/bus/usb/devices/1-5", mouse.directory.c_str()}) {
    EXPECT_EQ(save(device), saved()) << device;
    const recorder::DeviceRecording recording = recorder::readRecording(folder);
    EXPECT_EQ(recording.directory, mouse.directory);
    EXPECT_EQ(recording.tree, mouse.tree);
    fs::remove_all(folder);
  }
}

TEST_F(MainSave, KeepsAHubWithWhatIsBehindIt) {
  EXPECT_EQ(save("usb1"), saved());
  EXPECT_NE(recorder::readRecording(folder).entry(mouse.devpath().substr(1) + "/product"), nullptr);
}

TEST_F(MainSave, KeepsWhatIsExplainedAsTheDeviceIs) {
  unit.sysfs.remove(mouse);
  for (const std::string name : {"audio", "storage-2lun", "kbd-fs-hiddev", "hub", "made-kbd-unnamed"}) {
    const sim::DeviceRecording device = sim::withClassUsbHiddev(sim::loadRecording(name));
    unit.sysfs.layOut(device);
    EXPECT_EQ(save("1-5"), saved());
    const ExplainRun plugged = runExplain({"--class=all", "--json", "1-5"});
    const ExplainRun kept = runExplain({"--class=all", "--json", folder});
    EXPECT_EQ(replaced(kept.output, folder, "1-5"), plugged.output) << name;
    EXPECT_EQ(kept.end, plugged.end) << name;
    EXPECT_NE(plugged.output.find("\"device\": \"" + device.directory + "\""), std::string::npos) << name;
    fs::remove_all(folder);
    unit.sysfs.remove(device);
  }
}

TEST_F(MainSave, KeepsNoSerialNumber) {
  unit.sysfs.writeAttribute(mouse.directory, "serial", "S3CR3T\n");
  unit.sysfs.writeAttribute(mouse.directory, "uevent", "DEVTYPE=usb_device\nHID_UNIQ=S3CR3T\n");
  EXPECT_EQ(save("1-5"), saved());
  for (const fs::path& file : sim::entriesOf(folder)) {
    EXPECT_EQ(sim::readFile(file).find("S3CR3T"), std::string::npos) << file;
  }
}

TEST_F(MainSave, ReplacesNothing) {
  sim::writeFile(folder + "/about.txt", "somebody's\n");
  EXPECT_EQ(save("1-5"), refusal("there is something of that name already: " + folder));
  EXPECT_EQ(sim::readFile(folder + "/about.txt"), "somebody's\n");
}

TEST_F(MainSave, MakesOneFolderOnly) {
  folder = devices / "new/mouse";
  EXPECT_EQ(save("1-5"), refusal("making " + folder + ": No such file or directory"));
}

TEST_F(MainSave, WantsADeviceOfThisMachine) {
  const std::string recorded = sim::recordingsFolder() + "/audio";
  const std::string descriptors = mouse.directory + "/descriptors";
  for (const std::string& other : {std::string("1-6"), recorded, descriptors}) {
    EXPECT_EQ(save(other), refusal(other + ": there is no such device on this machine"));
  }
  EXPECT_EQ(save("1-5:1.0"), refusal("1-5:1.0: no device, but a part of one: ask for 1-5"));
  EXPECT_FALSE(fs::exists(folder));
}

TEST_F(MainSave, IsUsedWithAFolderAndADeviceAndNothingElse) {
  EXPECT_EQ(runExplain({"--save"}), refusal("--save: its value is missing"));
  EXPECT_EQ(runExplain({"--save", "", "1-5"}), refusal("--save: the FOLDER is empty"));
  EXPECT_EQ(runExplain({"--save", folder}), refusal("--save: wants one DEVICE"));
  EXPECT_EQ(runExplain({"--save", folder, "1-5", "usb1"}), refusal("--save: wants one DEVICE"));
  for (const std::string option : {"--json", "--class=all", "--speed=full", "--config=x", "--save=x"}) {
    EXPECT_EQ(runExplain({option, "--save", folder, "1-5"}), refusal("--save: no other option goes with it"));
  }
  EXPECT_FALSE(fs::exists(folder));
}

TEST(MainSaveOfAnotherUser, NeedsNoPrivileges) {
  support::inChild([] {
    const sim::Unit unit;
    const support::TemporaryDirectory devices;
    fs::permissions(devices.path(), fs::perms::all);
    sim::Sysfs sysfs;
    sysfs.add(sim::UsbDevice{});
    dropPrivileges();
    EXPECT_EQ(runExplain({"--save", devices / "device", "1-1"}).end, sim::ProcessEnd::exited(0));
    EXPECT_TRUE(fs::exists(devices / "device/tree.txt"));
  });
}

TEST(MainSaveOfAnotherUser, ReportsWhatMayNotBeRead) {
  support::inChild([] {
    const sim::Unit unit;
    const support::TemporaryDirectory devices;
    fs::permissions(devices.path(), fs::perms::all);
    sim::Sysfs sysfs;
    const std::string device = sysfs.add(sim::UsbDevice{});
    fs::permissions(device + "/product", fs::perms::none);
    dropPrivileges();
    EXPECT_EQ(runExplain({"--save", devices / "device", "1-1"}),
              refusal("reading " + device + "/product: Permission denied"));
    EXPECT_FALSE(fs::exists(devices / "device"));
  });
}

}  // namespace
