#include "tools/explain/json_output.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ctrl/device_classes.h"
#include "sim/usb_descriptors.h"
#include "support/private_world.h"
#include "unit/tools/explain/described_device.h"

namespace {

using JsonOutput = support::PrivateWorld;

std::string jsonFor(const explain::Device& device) {
  const explain::Circumstances circumstances = circumstancesWith(allClasses);
  return explain::jsonOf({explainDevice(device, circumstances)}, circumstances);
}

TEST_F(JsonOutput, IsAnEmptyArrayOfNoDevice) {
  EXPECT_EQ(explain::jsonOf({}, circumstancesWith(noClasses)), "[\n]\n");
}

TEST_F(JsonOutput, HasALineForEachDevice) {
  const explain::Explanation hub = explainDevice(recordedDevice("hub"), circumstancesWith(noClasses));
  const std::string json = explain::jsonOf({hub, hub}, circumstancesWith(noClasses));
  EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 4);
}

TEST_F(JsonOutput, BeginsWithTheDeviceAndWhatTheDaemonDoes) {
  const std::string json = jsonFor(recordedDevice("ccid"));
  const std::string device = "\"/sys/devices/pci0000:00/0000:00:03.0/usb1/1-5\"";
  EXPECT_TRUE(json.starts_with(
      "[\n{\"device\": " + device +
      ", \"source\": \"ccid\", \"name\": \"QEMU USB CCID\", \"speed\": \"12\", \"speed_inferred\": false, "
      "\"kind\": \"generic\", \"verdict\": \"served\", \"rule\": null, \"reason\": null, "
      "\"display\": \"QEMU USB CCID attached\", "
      "\"worker\": [\"usb_rx_generic\", \"eth1\", \"<hostname>\", \"<port>\", " +
      device + "], "))
      << json;
}

TEST_F(JsonOutput, HasTheConfigurationAndWhatHasBecomeOfIt) {
  explain::Circumstances circumstances = circumstancesWith(noClasses);
  const explain::Explanation device = explainDevice(recordedDevice("ccid"), circumstances);
  using State = explain::ConfigurationState;
  for (const auto& [state, word] :
       {std::pair(State::loaded, "loaded"), {State::missing, "missing"}, {State::unloadable, "unloadable"}}) {
    circumstances.configurationState = state;
    const std::string json = explain::jsonOf({device}, circumstances);
    EXPECT_TRUE(json.ends_with("\"configuration\": {\"path\": \"/vel/quor.conf\", \"state\": \"" +
                               std::string(word) + "\"}}\n]\n"))
        << json;
  }
}

TEST_F(JsonOutput, HasNullForWhatIsNotThere) {
  const std::string json = jsonFor(describedDevice("\x12\x01"));
  EXPECT_TRUE(json.starts_with(
      "[\n{\"device\": \"/reports/device\", \"source\": null, \"name\": \"un-named device\", \"speed\": "
      "null, "
      "\"speed_inferred\": true, \"kind\": null, \"verdict\": \"no worker\", \"rule\": null, "))
      << json;
  EXPECT_NE(json.find("\"display\": null, \"worker\": null"), std::string::npos) << json;
  EXPECT_NE(
      json.find("\"end\": 0, \"damage\": \"they end at byte 0 of 2: the descriptor there is cut short: 2 of "
                "its 18 bytes are there\", \"vendor\": null"),
      std::string::npos)
      << json;
}

}  // namespace
