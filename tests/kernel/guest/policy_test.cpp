// Who may use a device: each key of the configuration, for devices that are there at the start and for those
// that come later.

#include "kernel/guest/receiver_unit.h"
#include "support/named_case.h"

namespace guest {
namespace {

using Text = std::string (*)(const std::string& name);

struct Rule : support::NamedCase {
  std::string settings;  ///< of the section "usb"
  EmulatedDevice (*device)();
  Socket (*socket)(int number);
  bool isAdmitted;
  Text shown;  ///< on the display, of the device's name
};

constexpr Text noText = nullptr;

const std::vector<Rule> rules = {
    {"DefaultsAdmitADisk", "", disk, highSpeedSocket, true, noText},
    {"DefaultsAdmitASmartCardReader", "", smartCardReader, fullSpeedSocket, true, noText},
    {"DefaultsRefuseASpeaker", "", speaker, fullSpeedSocket, false, contract::display::isochronous},
    {"IsochronousEnabledAdmitsASpeaker", "isochronous_enabled = yes\n", speaker, fullSpeedSocket, true,
     noText},
    {"IsochronousUserWarningOffRefusesASpeakerSilently", "isochronous_user_warning = no\n", speaker,
     fullSpeedSocket, false, noText},
    {"HidOnlyAdmitsAKeyboard", "hid_only = yes\n", keyboard, highSpeedSocket, true, noText},
    {"HidOnlyAdmitsATablet", "hid_only = yes\n", tablet, highSpeedSocket, true, noText},
    {"HidOnlyRefusesAMediaPlayer", "hid_only = yes\n", mediaPlayer, highSpeedSocket, false,
     contract::display::nonHid},
    {"HidOnlyRefusesASerialAdapter", "hid_only = yes\n", serialAdapter, fullSpeedSocket, false,
     contract::display::nonHid},
    {"BlockMassStorageAdmitsAMediaPlayer", "block_mass_storage = yes\n", mediaPlayer, highSpeedSocket, true,
     noText},
    {"BlockMassStorageRefusesABulkOnlyDisk", "block_mass_storage = yes\n", disk, highSpeedSocket, false,
     contract::display::massStorage},
    {"BlockMassStorageRefusesAUasDisk", "block_mass_storage = yes\n", uasDisk, highSpeedSocket, false,
     contract::display::massStorage},
    {"SmartcardAdmitsANetworkAdapter", "smartcard = yes\n", networkAdapter, fullSpeedSocket, true, noText},
    {"SmartcardRefusesASmartCardReader", "smartcard = yes\n", smartCardReader, fullSpeedSocket, false,
     contract::display::smartcard},
};

class Policy : public ReceiverUnit, public testing::WithParamInterface<Rule> {
 protected:
  void expectDecisionFor(const PluggedDevice& device) {
    EXPECT_EQ(daemon->children().size(), GetParam().isAdmitted ? 1U : 0U);
    if (GetParam().isAdmitted) {
      genericWorkerOf(device);
    }
    const Text text = GetParam().shown;
    EXPECT_EQ(display.takeWrites(), text == noText ? nothing : Lines{text(device.device.product) + "\n"});
  }
};

INSTANTIATE_TEST_SUITE_P(Rules, Policy, testing::ValuesIn(rules), testing::PrintToStringParamName());

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
