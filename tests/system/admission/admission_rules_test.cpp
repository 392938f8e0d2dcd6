// Which devices may be used: what the rules make of a device with these settings on this link.

#include <optional>
#include <string>
#include <vector>

#include "support/named_case.h"
#include "system/support/admission_check.h"
#include "system/support/control_messages.h"

namespace {

using support::deviceOfClass;
using support::deviceWith;
using support::deviceWithRaw;
using support::interfaceOf;
using support::isochronousDevice;
using support::Lines;

namespace debug = contract::debug;
namespace display = contract::display;
using sim::bytes;
using sim::endpoint;
using sim::usb_class::audio;
using sim::usb_class::hid;
using sim::usb_class::massStorage;
using sim::usb_class::smartCard;
using sim::usb_class::vendor;

constexpr std::uint8_t printer = 0x07;

/** Every key but that of isochronous devices on. */
constexpr const char* everyRule = "smartcard = true\nhid_only = 1\nblock_mass_storage = yes\n";

const std::string name = "Synthetic Device";
const std::string isochronousEndpoint = endpoint(sim::transfer_type::isochronous);

/** What is logged of the endpoints before the decision. */
const Lines notLookedAt = {};
const Lines harmless = {debug::noIsochronousFound};
const Lines isochronous = {debug::isochronousFound};

constexpr std::nullopt_t nothing = std::nullopt;

struct Rule : support::NamedCase {
  std::string settings;  ///< of the section "usb"
  sim::UsbDevice device;
  std::string link;  ///< its speed
  Lines endpoints;
  bool isAdmitted;
  std::optional<std::string> line;  ///< on the display
};

/** One interface of a class; its bytes but the class are such that a test of a wrong byte would be misled. */
std::string plainInterface(std::uint8_t interfaceClass) {
  return sim::interface(interfaceClass, 0x3f, 0x3f, 0x3f, 0x3f);
}

sim::UsbDevice deviceWithPlain(std::uint8_t first, std::uint8_t second) {
  return deviceWith(plainInterface(first) + plainInterface(second));
}

sim::UsbDevice ofSpeed(const std::string& speed, sim::UsbDevice device = deviceOfClass(vendor)) {
  device.speed = speed;
  return device;
}

sim::UsbDevice unnamed(sim::UsbDevice device) {
  device.product.reset();
  return device;
}

/** Breaks every rule at once. */
const sim::UsbDevice unwanted = ofSpeed("480", deviceWith(interfaceOf(massStorage) + interfaceOf(smartCard) +
                                                          interfaceOf(vendor) + isochronousEndpoint));
const sim::UsbDevice camera = ofSpeed("480", isochronousDevice());

/** Of mass storage by its own class, which does not count. */
sim::UsbDevice deviceOfItsOwnClass() {
  sim::UsbDevice device = deviceWithRaw(sim::deviceDescriptor(massStorage) +
                                        sim::configuration(interfaceOf(vendor) + endpoint(2, smartCard)));
  device.deviceClass = "08";
  return device;
}

const std::vector<Rule> smartCardRules = {
    {"SmartcardRefusesAReader", "smartcard = true\n", deviceOfClass(smartCard), "high", notLookedAt, false,
     display::smartcard(name)},
    {"SmartcardRefusesAReaderBehindOtherInterfaces", "smartcard = yes\n", deviceWithPlain(vendor, smartCard),
     "high", notLookedAt, false, display::smartcard(name)},
    {"SmartcardShowsAnUnnamedDevice", "smartcard = 1\n", unnamed(deviceOfClass(smartCard)), "high",
     notLookedAt, false, display::smartcard(display::unnamedDevice)},
    {"SmartcardAdmitsOtherClasses", "smartcard = 1\n",
     deviceWith(plainInterface(massStorage) + plainInterface(0x0a) + plainInterface(0x0c)), "high", harmless,
     true, nothing},
    {"SmartcardOffAdmitsAReader", "smartcard = false\n", deviceOfClass(smartCard), "high", harmless, true,
     nothing},
};

const std::vector<Rule> hidOnlyRules = {
    {"HidOnlyRefusesAScanner", "hid_only = true\n", deviceOfClass(vendor), "high", notLookedAt, false,
     display::nonHid(name)},
    {"HidOnlyRefusesOneInterfaceOfAnotherClass", "hid_only = Yes\n", deviceWithPlain(hid, vendor), "high",
     notLookedAt, false, display::nonHid(name)},
    {"HidOnlyAdmitsHidInterfaces", "hid_only = 1\n", deviceWithPlain(hid, hid), "high", harmless, true,
     nothing},
    {"HidOnlyOffAdmitsAScanner", "hid_only = no\n", deviceOfClass(vendor), "high", harmless, true, nothing},
};

const std::vector<Rule> massStorageRules = {
    {"BlockMassStorageRefusesADisk", "block_mass_storage = true\n", deviceOfClass(massStorage), "high",
     notLookedAt, false, display::massStorage(name)},
    {"BlockMassStorageRefusesADiskBesidesOtherInterfaces", "block_mass_storage = 1\n",
     deviceWithPlain(printer, massStorage), "high", notLookedAt, false, display::massStorage(name)},
    {"BlockMassStorageRefusesADiskInAnotherConfiguration", "block_mass_storage = true\n",
     deviceWithRaw(sim::deviceDescriptor(0, 2) + sim::configuration(interfaceOf(vendor)) +
                   sim::configuration(interfaceOf(massStorage))),
     "high", notLookedAt, false, display::massStorage(name)},
    {"BlockMassStorageShowsAnUnnamedDevice", "block_mass_storage = 1\n", unnamed(deviceOfClass(massStorage)),
     "high", notLookedAt, false, display::massStorage(display::unnamedDevice)},
    {"BlockMassStorageAdmitsOtherClasses", "block_mass_storage = true\n",
     deviceWith(plainInterface(printer) + plainInterface(smartCard) + plainInterface(0x09)), "high", harmless,
     true, nothing},
    {"BlockMassStorageOffAdmitsADisk", "block_mass_storage = 0\n", deviceOfClass(massStorage), "high",
     harmless, true, nothing},
    {"ClassesAreThoseOfInterfacesNotOfTheDevice", "smartcard = true\nblock_mass_storage = true\n",
     deviceOfItsOwnClass(), "high", harmless, true, nothing},
};

const std::vector<Rule> isochronousRules = {
    {"DefaultsRefuseIsochronousEndpoints", "", isochronousDevice(), "high", isochronous, false,
     display::isochronous(name)},
    {"IsochronousOffRefusesThem", "isochronous_enabled = false\n", isochronousDevice(), "high", isochronous,
     false, display::isochronous(name)},
    {"IsochronousOnAdmitsThem", "isochronous_enabled = true\n", isochronousDevice(), "high", notLookedAt,
     true, nothing},
    {"IsochronousOnAdmitsThemAlsoWithoutTheWarning",
     "isochronous_enabled = true\nisochronous_user_warning = false\n", isochronousDevice(), "high",
     notLookedAt, true, nothing},
    {"WarningOffRefusesThemSilently", "isochronous_user_warning = no\n", isochronousDevice(), "high",
     isochronous, false, nothing},
    {"WarningNeitherOnNorOffRefusesThemWithALine", "isochronous_user_warning = maybe\n", isochronousDevice(),
     "high", isochronous, false, display::isochronous(name)},
    {"IsochronousEndpointsOfAnAlternateSettingAreFound", "",
     deviceWith(interfaceOf(audio) + sim::interface(audio, 2, 0, 0, 1) + endpoint(0x0d)), "high", isochronous,
     false, display::isochronous(name)},
    {"IsochronousShowsAnUnnamedDevice", "", unnamed(isochronousDevice()), "high", isochronous, false,
     display::isochronous(display::unnamedDevice)},
    {"IsochronousShowsAnEmptyNameAsNothing", "", support::named(isochronousDevice(), "1-1", ""), "high",
     isochronous, false, display::isochronous("")},
    {"IsochronousShowsBlanksAndPercentSignsAsTheyAre", "",
     support::named(isochronousDevice(), "1-1", "  Gr\xc3\xbcn %s %n "), "high", isochronous, false,
     display::isochronous("  Gr\xc3\xbcn %s %n ")},
    {"IsochronousShowsANameOfTwoLines", "", support::named(isochronousDevice(), "1-1", "Two\nLines\n"),
     "high", isochronous, false, display::isochronous("Two\nLines\n")},
};

const std::vector<Rule> speedRules = {
    {"FullSpeedLinkRefusesHighSpeed", "", ofSpeed("480"), "full", harmless, false, display::highSpeed(name)},
    {"FullSpeedLinkAdmitsFullSpeed", "", ofSpeed("12"), "full", harmless, true, nothing},
    {"FullSpeedLinkAdmitsSuperSpeed", "", ofSpeed("5000"), "full", harmless, true, nothing},
    {"FullSpeedLinkRefusesAnEnabledCamera", "isochronous_enabled = true\n", camera, "full", notLookedAt,
     false, display::highSpeed(name)},
    {"FullSpeedLinkIsNoReasonForACameraRefusedWithALine", "", camera, "full", isochronous, false,
     display::isochronous(name)},
    {"FullSpeedLinkIsTheReasonForACameraRefusedSilently", "isochronous_user_warning = false\n", camera,
     "full", isochronous, false, display::highSpeed(name)},
    {"FullSpeedLinkDoesNotAdmitWhatWasRefusedSilently", "isochronous_user_warning = false\n",
     isochronousDevice(), "full", isochronous, false, nothing},
    {"HighSpeedLinkRefusesACameraSilently", "isochronous_user_warning = false\n", camera, "high", isochronous,
     false, nothing},
    {"HighSpeedLinkAdmitsHighSpeed", "", ofSpeed("480"), "high", harmless, true, nothing},
    {"LinkOfNoSpeedAdmitsHighSpeed", "", ofSpeed("480"), "", harmless, true, nothing},
    {"LinkOfAnotherSpellingAdmitsHighSpeed", "", ofSpeed("480"), "Full", harmless, true, nothing},
};

const std::vector<Rule> order = {
    {"SmartcardComesFirst", everyRule, unwanted, "full", notLookedAt, false, display::smartcard(name)},
    {"HidOnlyComesSecond", "hid_only = true\nblock_mass_storage = true\n", unwanted, "full", notLookedAt,
     false, display::nonHid(name)},
    {"BlockMassStorageComesThird", "block_mass_storage = true\n", unwanted, "full", notLookedAt, false,
     display::massStorage(name)},
    {"IsochronousComesFourth", "", unwanted, "full", isochronous, false, display::isochronous(name)},
    {"SpeedComesLast", "isochronous_enabled = true\n", unwanted, "full", notLookedAt, false,
     display::highSpeed(name)},
    {"AMouseBreaksNone", everyRule, support::mouse(), "full", harmless, true, nothing},
};

/** Files that no tests of the walk over descriptors hold: what the rules take a whole file for. */
const std::vector<Rule> oddDescriptors = {
    {"AnEmptyFileBreaksNoRule", everyRule, deviceWithRaw(""), "high", harmless, true, nothing},
    {"OneByteBreaksNoRule", everyRule, deviceWithRaw(bytes({9})), "high", harmless, true, nothing},
    {"AFileOfZerosBreaksNoRule", everyRule, deviceWithRaw(std::string(4096, '\0')), "high", harmless, true,
     nothing},
    {"AFileIsScannedFromItsFirstByte", "smartcard = true\n", deviceWithRaw(interfaceOf(smartCard)), "high",
     notLookedAt, false, display::smartcard(name)},
    {"AnInterfaceCutBehindItsClassIsNotHid", "hid_only = true\n",
     deviceWith(interfaceOf(hid) + interfaceOf(vendor).substr(0, 6)), "high", notLookedAt, false,
     display::nonHid(name)},
};

class AdmissionRules : public support::AdmissionCheck, public testing::WithParamInterface<Rule> {};

INSTANTIATE_TEST_SUITE_P(SmartCards, AdmissionRules, testing::ValuesIn(smartCardRules),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(HidOnly, AdmissionRules, testing::ValuesIn(hidOnlyRules),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(MassStorage, AdmissionRules, testing::ValuesIn(massStorageRules),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Isochronous, AdmissionRules, testing::ValuesIn(isochronousRules),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Speed, AdmissionRules, testing::ValuesIn(speedRules),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Order, AdmissionRules, testing::ValuesIn(order), testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Descriptors, AdmissionRules, testing::ValuesIn(oddDescriptors),
                         testing::PrintToStringParamName());

TEST_P(AdmissionRules, DecideOfADevice) {
  const Rule& rule = GetParam();
  startWith(rule.settings, rule.link);
  Lines said = rule.endpoints;
  if (rule.isAdmitted) {
    said.insert(said.end(), {debug::generic, debug::startingGeneric(rule.device.directory())});
  } else {
    said.emplace_back(debug::unsupported);
  }
  EXPECT_EQ(saidOfPlugging(rule.device), support::usbDevice(rule.device.directory(), said));
  EXPECT_EQ(hasNoWorker(), !rule.isAdmitted);
  EXPECT_EQ(unit.display.takeWrites(), rule.line ? Lines{*rule.line + "\n"} : Lines{});
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

}  // namespace
