#include "tools/explain/text_output.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ctrl/device_classes.h"
#include "sim/device_recording.h"
#include "sim/sysfs.h"
#include "sim/usb_descriptors.h"
#include "support/private_world.h"
#include "tools/explain/sysfs_tree.h"
#include "ulx/items.h"
#include "unit/tools/explain/described_device.h"

namespace {

using explain::Explanation;

using TextOutput = support::PrivateWorld;

std::string textFor(const explain::Device& device, const explain::Circumstances& circumstances) {
  return textOf(explainDevice(device, circumstances));
}

TEST_F(TextOutput, ExplainsARefusedDevice) {
  EXPECT_EQ(textFor(recordedDevice("audio"), circumstancesWith(noClasses)),
            "QEMU USB Audio: full speed, 12 Mbit/s\n"
            "  /sys/devices/pci0000:00/0000:00:03.0/usb1/1-5 (audio)\n"
            "  46f4:0002, 1 configuration\n"
            "    interface 0: audio control (1/1/4)\n"
            "    interface 1: audio streaming (1/2/0)\n"
            "    interface 1 (setting 1): audio streaming (1/2/0), endpoint 0x01 (isochronous\n"
            "        out)\n"
            "  Kind: generic\n"
            "    not a hub: the device class is given by each interface (0)\n"
            "    not a keyboard: not asked without --class=keyboard; nor is it: interface 0\n"
            "        is audio control (1/1/4)\n"
            "    not storage: not asked without --class=scsi; nor is it: interface 0 is audio\n"
            "        control (1/1/4)\n"
            "  Rules:\n"
            "    usb:smartcard: rule off (default: the key is not set)\n"
            "    usb:hid_only: rule off (default: the key is not set)\n"
            "    usb:block_mass_storage: rule off (default: the key is not set)\n"
            "    usb:isochronous_enabled: rule on (default: the key is not set): interface 1\n"
            "        (setting 1) has endpoint 0x01 (isochronous out): refused\n"
            "    speed: rule off (the speed of the link is \"high\")\n"
            "  Verdict: refused by usb:isochronous_enabled\n"
            "  Display: \"QEMU USB Audio is not supported because it has isochronous endpoints\"\n"
            "  Worker: none: it is refused\n");
}

TEST_F(TextOutput, ListsTheInterfacesOfSeveralConfigurationsBelowTheirNumbers) {
  const std::string text = textFor(recordedDevice("net"), circumstancesWith(noClasses));
  const std::size_t begin = text.find("  0525:a4a2, 2 configurations\n");
  ASSERT_NE(begin, std::string::npos) << text;
  EXPECT_EQ(text.substr(begin, text.find("  Kind") - begin),
            "  0525:a4a2, 2 configurations\n"
            "    configuration 2:\n"
            "      interface 0: network control (vendor's protocol) (2/2/255)\n"
            "      interface 1: communications data (10/0/0)\n"
            "    configuration 1:\n"
            "      interface 0: Ethernet control (2/6/0)\n"
            "      interface 1: communications data (10/0/0)\n"
            "      interface 1 (setting 1): communications data (10/0/0)\n");
}

TEST_F(TextOutput, ExplainsAKeyboardByItsNode) {
  const std::string node = "/sys/devices/pci0000:00/0000:00:03.0/usb1/1-5/1-5:1.0/usb/hiddev0";
  const std::string text =
      textFor(recordedDevice("made-kbd-noboot-hiddev", true), circumstancesWith(allClasses));
  const std::string worker = "Worker: usb_rx_keyboard eth1 <hostname> <port>+1 180 0\n";
  EXPECT_EQ(text.substr(text.find("  Kind")),
            "  Kind: keyboard\n"
            "    not a hub: the device class is given by each interface (0)\n"
            "    a keyboard: every interface is a HID keyboard\n"
            "    not storage: it is a keyboard already; nor is it: interface 0 is HID\n"
            "        keyboard without the boot protocol (3/0/1)\n"
            "  Rules: the policy does not concern it, since its class has a worker of its own\n"
            "  Node hiddev0: " +
                node +
                "\n"
                "    Display: \"Plain Keys attached\"\n"
                "    " +
                worker +
                "    But there when the daemon starts, it is left alone: only boot keyboards are\n"
                "        looked for then\n"
                "  Verdict: served\n"
                "  Display: \"Plain Keys attached\"\n"
                "  " +
                worker);
}

TEST_F(TextOutput, ExplainsDamagedDescriptors) {
  const std::string text =
      textFor(describedDevice(sim::keyboardDescriptors().substr(0, 30)), circumstancesWith(noClasses));
  EXPECT_NE(text.find("  Descriptors: damaged: they end at byte 27 of 30: the descriptor there is cut\n"
                      "      short: 3 of its 9 bytes are there; the rules read as far as that\n"),
            std::string::npos)
      << text;
}

TEST_F(TextOutput, SaysThatRulesReadDamagedDescriptorsOnlyWhereOneHas) {
  explain::Circumstances circumstances = circumstancesWith(noClasses);
  circumstances.policy.isochronousEnabled = true;
  const std::string text = textFor(describedDevice(sim::keyboardDescriptors().substr(0, 30)), circumstances);
  EXPECT_NE(text.find("3 of its 9 bytes are there\n"), std::string::npos) << text;
}

TEST_F(TextOutput, ShowsTheRuleThatCannotReadTheDevice) {
  sim::Sysfs sysfs;
  const std::string path = sysfs.add(sim::UsbDevice{});
  sysfs.removeAttribute(path, "speed");
  explain::Circumstances circumstances = circumstancesWith(noClasses);
  circumstances.linkSpeed = "full";
  const std::string text =
      textFor({.tree = std::make_shared<explain::SysfsTree>(), .path = path, .source = {}}, circumstances);
  EXPECT_NE(text.find("(default: the key is not set): nothing\n        found, passed\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("    speed: rule on (the speed of the link is \"full\"): failed: No such file"),
            std::string::npos)
      << text;
}

TEST_F(TextOutput, SaysOfAHubThatNothingIsAsked) {
  const std::string text = textFor(recordedDevice("hub"), circumstancesWith(noClasses));
  EXPECT_NE(text.find("  Rules: not asked\n"), std::string::npos) << text;
  EXPECT_NE(text.find("  Worker: none: hubs need none\n"), std::string::npos) << text;
}

TEST_F(TextOutput, HasAHeadingWithTheConfigurationAndTheLink) {
  explain::Circumstances circumstances = circumstancesWith(allClasses);
  EXPECT_EQ(headingOf(circumstances),
            "Configuration: /vel/quor.conf is not there, so every key has its default\n"
            "Link speed: high. Classes: keyboard, scsi.\n");
  circumstances.configurationState = explain::ConfigurationState::unloadable;
  EXPECT_TRUE(
      headingOf(circumstances)
          .starts_with("Configuration: /vel/quor.conf cannot be loaded, so every key has its default\n"));
  circumstances.configurationState = explain::ConfigurationState::loaded;
  circumstances.classes = noClasses;
  EXPECT_EQ(headingOf(circumstances), "Configuration: /vel/quor.conf\nLink speed: high. Classes: none.\n");
}

TEST_F(TextOutput, SaysOfARefusedDeviceThatItsNodeIsServed) {
  explain::Circumstances circumstances = circumstancesWith(storageClass);
  circumstances.policy.blockMassStorage = true;
  const Explanation disk = explainDevice(recordedDevice("uas-hs"), circumstances);
  const std::string text = textOf(disk);
  EXPECT_NE(text.find("  Verdict: refused by usb:block_mass_storage; but its node sg0 is served\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("  Worker: none: it is refused\n"), std::string::npos) << text;
  EXPECT_NE(explain::tableOf({disk}).find(" refused*   "), std::string::npos) << explain::tableOf({disk});
  EXPECT_TRUE(explain::tableOf({disk}).ends_with("\n* but a node of it is served: see below\n"));
}

TEST_F(TextOutput, HasATableOfEightyColumnsAtMost) {
  std::vector<Explanation> explanations;
  for (const std::string name : {"hub", "audio", "made-odd-name", "made-long-name"}) {
    explanations.push_back(explainDevice(recordedDevice(name), circumstancesWith(noClasses)));
  }
  EXPECT_EQ(tableOf(explanations),
            "Device          Speed Kind      Verdict    Name\n"
            "1-5                12 hub       no worker  QEMU USB Hub\n"
            "1-5                12 generic   refused    QEMU USB Audio\n"
            "1-5                12 generic   served       Gr\xC3\xBCn \xE2\x80\x9C"
            "Disk\xE2\x80\x9D %s %n  \n"
            "1-5                12 generic   served     Long name Long name Long name Long na\n");
}

TEST_F(TextOutput, KeepsWithinEightyColumnsButForPathsAndExactLines) {
  for (const std::string& name : sim::recordingNames()) {
    const sim::DeviceRecording recording = sim::loadRecording(name);
    if (recording.directory.empty()) {
      continue;
    }
    const std::string whole = textFor(recordedDevice(name), circumstancesWith(allClasses));
    const std::string text = whole.substr(whole.find('\n'));  // a name may be as long as it is
    ulx::forEachItem(text, '\n', [&](std::string_view line) {
      const bool isExact =
          line.find("/sys/") != std::string_view::npos || line.find("Display: ") != std::string_view::npos;
      EXPECT_TRUE(isExact || line.size() <= 80) << name << ": " << line;
    });
  }
}

}  // namespace
