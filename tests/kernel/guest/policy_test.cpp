// Who may use a device: each key of the configuration, for devices that are there at the start and for those
// that come later.

#include <ostream>

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

struct Rule {
  std::string name;
  std::string settings;  ///< of the section "usb"
  EmulatedDevice (*device)();
  Socket (*socket)(int number);
  bool isAdmitted;
  Lines shown;  ///< on the display
};

std::ostream& operator<<(std::ostream& out, const Rule& rule) {
  return out << rule.name;
}

const std::vector<Rule> rules = {
    {"DefaultsAdmitADisk", "", disk, highSpeedSocket, true, nothing},
    {"DefaultsAdmitASmartCardReader", "", smartCardReader, fullSpeedSocket, true, nothing},
    {"DefaultsRefuseASpeaker",
     "",
     speaker,
     fullSpeedSocket,
     false,
     {"QEMU USB Audio is not supported because it has isochronous endpoints\n"}},
    {"IsochronousEnabledAdmitsASpeaker", "isochronous_enabled = yes\n", speaker, fullSpeedSocket, true,
     nothing},
    {"IsochronousUserWarningOffRefusesASpeakerSilently", "isochronous_user_warning = no\n", speaker,
     fullSpeedSocket, false, nothing},
    {"HidOnlyAdmitsAKeyboard", "hid_only = yes\n", keyboard, highSpeedSocket, true, nothing},
    {"HidOnlyAdmitsATablet", "hid_only = yes\n", tablet, highSpeedSocket, true, nothing},
    {"HidOnlyRefusesAMediaPlayer",
     "hid_only = yes\n",
     mediaPlayer,
     highSpeedSocket,
     false,
     {"QEMU filesharing is not supported because it has non-HID endpoints\n"}},
    {"HidOnlyRefusesASerialAdapter",
     "hid_only = yes\n",
     serialAdapter,
     fullSpeedSocket,
     false,
     {"QEMU USB SERIAL is not supported because it has non-HID endpoints\n"}},
    {"BlockMassStorageAdmitsAMediaPlayer", "block_mass_storage = yes\n", mediaPlayer, highSpeedSocket, true,
     nothing},
    {"BlockMassStorageRefusesABulkOnlyDisk",
     "block_mass_storage = yes\n",
     disk,
     highSpeedSocket,
     false,
     {"QEMU USB HARDDRIVE configuration blocked due to mass storage capability\n"}},
    {"BlockMassStorageRefusesAUasDisk",
     "block_mass_storage = yes\n",
     uasDisk,
     highSpeedSocket,
     false,
     {"USB Attached SCSI HBA configuration blocked due to mass storage capability\n"}},
    {"SmartcardAdmitsANetworkAdapter", "smartcard = yes\n", networkAdapter, fullSpeedSocket, true, nothing},
    {"SmartcardRefusesASmartCardReader",
     "smartcard = yes\n",
     smartCardReader,
     fullSpeedSocket,
     false,
     {"QEMU USB CCIDlocal smartcard security\n"}},
};

class Policy : public ReceiverUnit, public testing::WithParamInterface<Rule> {
 protected:
  void expectDecisionFor(const PluggedDevice& device) {
    EXPECT_EQ(daemon->children().size(), GetParam().isAdmitted ? 1U : 0U);
    if (GetParam().isAdmitted) {
      EXPECT_EQ(workerOf(device.directory).start.arguments, genericWorker(device.directory));
    }
    EXPECT_EQ(display.takeWrites(), GetParam().shown);
  }
};

INSTANTIATE_TEST_SUITE_P(Rules, Policy, testing::ValuesIn(rules),
                         [](const auto& instance) { return instance.param.name; });

TEST_P(Policy, HoldsForADeviceThatIsThereAtTheStart) {
  configure(GetParam().settings);
  const PluggedDevice device = desk.plug(GetParam().device(), GetParam().socket(1));
  start();
  expectDecisionFor(device);
}

TEST_P(Policy, HoldsForADeviceThatIsPluggedIn) {
  configure(GetParam().settings);
  start();
  expectDecisionFor(plug(GetParam().device(), GetParam().socket(1)));
}

}  // namespace
}  // namespace guest
