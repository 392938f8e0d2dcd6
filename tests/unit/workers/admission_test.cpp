#include "workers/admission.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>

#include "ctrl/configuration_keys.h"
#include "ctrl/settings.h"
#include "hotplug/sysfs.h"
#include "sim/contract.h"
#include "sim/files.h"
#include "sim/usb_descriptors.h"
#include "support/device_directory.h"
#include "support/named_case.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/restored_settings.h"
#include "support/test_ctrl.h"
#include "support/thrown.h"

namespace {

using sim::bytes;
using support::Lines;
using support::tagged;
namespace display = contract::display;
namespace debug = contract::debug;

std::string interface(std::uint8_t interfaceClass) {
  return sim::interface(interfaceClass, 0, 0);
}

std::string descriptors(const std::string& configuration) {
  return sim::deviceDescriptor() + sim::configuration(configuration);
}

const std::string hid = interface(sim::usb_class::hid);
const std::string massStorage = interface(sim::usb_class::massStorage);
const std::string smartCard = interface(sim::usb_class::smartCard);
const std::string vendor = interface(sim::usb_class::vendor);
const std::string bulk = sim::endpoint(sim::transfer_type::bulk);
const std::string isochronous = sim::endpoint(sim::transfer_type::isochronous);
// Every rule but that of the speed refuses it.
const std::string everything = descriptors(smartCard + massStorage + isochronous);

// The numbers of classes and transfer types in the places of others.
const std::string smartCardNumbersElsewhere =
    sim::deviceDescriptor(sim::usb_class::smartCard) +
    sim::configuration(sim::endpoint(sim::transfer_type::bulk, sim::usb_class::smartCard));
const std::string isochronousNumberElsewhere = descriptors(bytes({9, 4, 0, 1, 1, 0xFF, 0, 0, 0}));
const std::string oversizedEndpoint = bytes({9, 5, 1, 1, 192, 0, 1, 0, 0});

constexpr AdmissionPolicy standard{};
constexpr AdmissionPolicy hidOnly{.hidOnly = true};
constexpr AdmissionPolicy noStorage{.blockMassStorage = true};
constexpr AdmissionPolicy secured{.smartcard = true};
constexpr AdmissionPolicy isochronousToo{.isochronousEnabled = true};
constexpr AdmissionPolicy unwarned{.isochronousUserWarning = false};

/** The rule of this name. */
const AdmissionRule* rule(const std::string& name) {
  const auto all = admissionRules();
  const auto found =
      std::ranges::find_if(all, [&name](const AdmissionRule& each) { return each.name == name; });
  return found == all.end() ? nullptr : &*found;
}

Judgement refused(const char* byRule, const std::string& message) {
  return {.verdict = Verdict::refused, .message = message, .rule = rule(byRule)};
}

const Judgement byPolicyOfHid = refused("usb:hid_only", display::nonHid("Thing"));
const Judgement byPolicyOfStorage = refused("usb:block_mass_storage", display::massStorage("Thing"));
const Judgement asSmartcard = refused("usb:smartcard", display::smartcard("Thing"));
const Judgement asIsochronous = refused("usb:isochronous_enabled", display::isochronous("Thing"));
const Judgement asTooFast = refused("speed", display::highSpeed("Thing"));
const Judgement silently{
    .verdict = Verdict::refusedSilently, .message = {}, .rule = rule("usb:isochronous_enabled")};
const Judgement admitted;

struct AdmissionCase : support::NamedCase {
  AdmissionPolicy policy;
  std::string descriptors;
  Judgement judgement = {};  // it is admitted unless this says otherwise
  const char* linkSpeed = "high";
  const char* deviceSpeed = "480\n";
};

/** A device "Thing" on a high-speed port. */
class Admission : public testing::Test {
 protected:
  Admission() {
    device_.write("product", "Thing\n");
    device_.write("speed", "480\n");
  }

  [[nodiscard]] Judgement judged(const AdmissionPolicy& policy, const std::string& linkSpeed = "high") const {
    return judge(policy, linkSpeed, SysfsDevice(device_.path()));
  }
  [[nodiscard]] Verdict verdictOn(const std::string& descriptorsOfIt, const AdmissionPolicy& policy = {},
                                  const std::string& linkSpeed = "high") const {
    device_.write("descriptors", descriptorsOfIt);
    return judged(policy, linkSpeed).verdict;
  }
  [[nodiscard]] Lines logOf(const AdmissionPolicy& policy, const std::string& descriptorsOfIt) const {
    return support::debugLogDuring([&] { (void)verdictOn(descriptorsOfIt, policy); });
  }

  support::RestoredSettings settings_;
  support::DeviceDirectory device_;
};

class AdmissionOf : public Admission, public testing::WithParamInterface<AdmissionCase> {};

INSTANTIATE_TEST_SUITE_P(
    A, AdmissionOf,
    testing::Values(
        AdmissionCase{{"HidDevice"}, standard, descriptors(hid + bulk)},
        AdmissionCase{{"Disk"}, standard, descriptors(massStorage + bulk)},
        AdmissionCase{{"CardReader"}, standard, descriptors(smartCard + bulk)},
        AdmissionCase{{"VendorDevice"}, standard, descriptors(vendor + bulk)},
        AdmissionCase{{"DeviceOfNoInterfaces"}, standard, descriptors("")},

        AdmissionCase{{"SecuredCardReader"}, secured, descriptors(smartCard), asSmartcard},
        AdmissionCase{{"SecuredCardReaderAmongOthers"},
                      secured,
                      descriptors(hid + bulk + vendor + smartCard),
                      asSmartcard},
        AdmissionCase{{"SecuredOtherDevice"}, secured, descriptors(massStorage + vendor)},
        AdmissionCase{{"SecuredDeviceOfSuchNumbers"}, secured, smartCardNumbersElsewhere},

        AdmissionCase{{"HidOnlyVendorDevice"}, hidOnly, descriptors(vendor), byPolicyOfHid},
        AdmissionCase{{"HidOnlyVendorDeviceWithHid"}, hidOnly, descriptors(vendor + hid), byPolicyOfHid},
        AdmissionCase{{"HidOnlyHidDeviceWithVendor"}, hidOnly, descriptors(hid + vendor), byPolicyOfHid},
        AdmissionCase{{"HidOnlyHidDevice"}, hidOnly, descriptors(hid)},
        AdmissionCase{{"HidOnlyHidDeviceOfTwo"}, hidOnly, descriptors(hid + bulk + hid)},
        AdmissionCase{{"HidOnlyDeviceOfNoInterfaces"}, hidOnly, descriptors("")},

        AdmissionCase{{"BlockedDisk"}, noStorage, descriptors(hid + massStorage), byPolicyOfStorage},
        AdmissionCase{{"BlockedOtherDevice"}, noStorage, descriptors(smartCard + vendor + hid)},
        AdmissionCase{{"BlockedDiskBehindNoLength"},
                      noStorage,
                      descriptors(hid + bytes({0, 2}) + massStorage + isochronous)},
        AdmissionCase{{"BlockedDiskCutBehindItsClass"},
                      noStorage,
                      descriptors(massStorage.substr(0, 6)),
                      byPolicyOfStorage},
        AdmissionCase{{"BlockedDiskCutBeforeItsClass"}, noStorage, descriptors(massStorage.substr(0, 5))},

        AdmissionCase{
            {"IsochronousDevice"}, standard, descriptors(vendor + bulk + isochronous), asIsochronous},
        AdmissionCase{
            {"IsochronousDeviceOversized"}, standard, descriptors(oversizedEndpoint), asIsochronous},
        AdmissionCase{{"IsochronousDeviceCutBehindItsType"},
                      standard,
                      descriptors(isochronous.substr(0, 4)),
                      asIsochronous},
        AdmissionCase{{"IsochronousDeviceCutBeforeItsType"}, standard, descriptors(isochronous.substr(0, 3))},
        AdmissionCase{{"IsochronousDeviceEnabled"}, isochronousToo, descriptors(isochronous)},
        AdmissionCase{{"InterfaceOfSuchANumber"}, standard, isochronousNumberElsewhere},
        AdmissionCase{{"UnwarnedIsochronousDevice"}, unwarned, descriptors(isochronous), silently},
        AdmissionCase{
            {"UnwarnedIsochronousDeviceTooFast"}, unwarned, descriptors(isochronous), asTooFast, "full"},
        AdmissionCase{
            {"UnwarnedIsochronousDeviceSlow"}, unwarned, descriptors(isochronous), silently, "full", "12\n"},
        AdmissionCase{{"UnwarnedOtherDevice"}, unwarned, descriptors(bulk)},

        AdmissionCase{{"FastDeviceOnASlowLink"}, standard, descriptors(vendor), asTooFast, "full"},
        AdmissionCase{{"SlowDeviceOnASlowLink"}, standard, descriptors(vendor), admitted, "full", "12\n"},

        AdmissionCase{{"FirstRule"}, {true, true, true, false, true}, everything, asSmartcard, "full"},
        AdmissionCase{{"SecondRule"}, {true, true, false, false, true}, everything, byPolicyOfHid, "full"},
        AdmissionCase{
            {"ThirdRule"}, {false, true, false, false, true}, everything, byPolicyOfStorage, "full"},
        AdmissionCase{{"FourthRule"}, {false, false, false, false, true}, everything, asIsochronous, "full"},
        AdmissionCase{{"FifthRule"}, {false, false, false, true, true}, everything, asTooFast, "full"}));

TEST_P(AdmissionOf, IsAsThePolicySays) {
  device_.write("descriptors", GetParam().descriptors);
  device_.write("speed", GetParam().deviceSpeed);
  const Judgement judgement = judged(GetParam().policy, GetParam().linkSpeed);
  EXPECT_EQ(judgement.verdict, GetParam().judgement.verdict);
  EXPECT_EQ(judgement.message, GetParam().judgement.message);
}

TEST_F(Admission, LooksAtTheTransferTypeOfAnEndpointAlone) {
  for (const unsigned attributes : {0x01U, 0x05U, 0x0DU, 0x11U, 0xFDU}) {
    EXPECT_EQ(verdictOn(descriptors(sim::endpoint(static_cast<std::uint8_t>(attributes)))), Verdict::refused)
        << attributes;
  }
  for (const unsigned attributes : {0x00U, 0x02U, 0x03U, 0x04U, 0xFCU, 0xFFU}) {
    EXPECT_EQ(verdictOn(descriptors(sim::endpoint(static_cast<std::uint8_t>(attributes)))), Verdict::admitted)
        << attributes;
  }
}

TEST_F(Admission, OnASlowLinkIsOfAnyOtherSpeedThan480) {
  for (const char* speed : {"1.5\n", "12\n", "5000\n", "480 \n", "\n"}) {
    device_.write("speed", speed);
    EXPECT_EQ(verdictOn(descriptors(vendor), {}, "full"), Verdict::admitted) << speed;
  }
}

TEST_F(Admission, OfAFastDeviceIsOnAnyLinkButTheOneOfFullSpeed) {
  for (const char* speed : {"high", "Full", "full ", "", "480"}) {
    EXPECT_EQ(verdictOn(descriptors(vendor), {}, speed), Verdict::admitted) << speed;
  }
}

TEST_F(Admission, NamesADeviceWithoutAName) {
  std::filesystem::remove(device_.path() + "/product");
  device_.write("descriptors", descriptors(vendor));
  EXPECT_EQ(judged({}, "full").message, display::highSpeed(display::unnamedDevice));
}

TEST_F(Admission, ReadsOnlyWhatARuleNeeds) {
  std::filesystem::remove(device_.path() + "/speed");
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)judged({}); }),
            "open(\"" + device_.path() + "/descriptors\")");
  EXPECT_EQ(judged(isochronousToo).verdict, Verdict::admitted);
  EXPECT_EQ(
      support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)judged(isochronousToo, "full"); }),
      "open(\"" + device_.path() + "/speed\")");
}

TEST_F(Admission, LogsWhatItFindsOfIsochronousEndpointsUnlessNobodyAsks) {
  EXPECT_EQ(logOf(standard, descriptors(isochronous)), tagged({debug::isochronousFound}));
  EXPECT_EQ(logOf(standard, descriptors(bulk)), tagged({debug::noIsochronousFound}));
  EXPECT_EQ(logOf(hidOnly, descriptors(vendor + isochronous)), Lines{}) << "refused earlier";
  EXPECT_EQ(logOf(isochronousToo, descriptors(isochronous)), Lines{}) << "enabled";
  EXPECT_EQ(support::logDuring([this] { (void)verdictOn(descriptors(isochronous)); }), Lines{})
      << "without debugging";
}

/** The daemon, whose configuration changes at "/vel/quor.conf", and a vendor's device without a name. */
class AdmissionCheck : public support::PrivateWorld {
 protected:
  AdmissionCheck() { device_.write("descriptors", sim::vendorDeviceDescriptors()); }

  static void configure(const std::string& usb) { sim::writeFile(configurationPath, "[usb]\n" + usb); }
  [[nodiscard]] bool check() { return checkAdmission(*ctrl_, SysfsDevice(device_.path())); }

  support::TestCtrl ctrl_;
  support::DeviceDirectory device_;
  const Lines refusal_{display::nonHid(display::unnamedDevice) + "\n"};
};

TEST_F(AdmissionCheck, ShowsARefusalWithAMessageAndNothingElse) {
  EXPECT_TRUE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{});
  ctrl_->policy = hidOnly;
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), refusal_);
  ctrl_->policy = unwarned;
  device_.write("descriptors", descriptors(isochronous));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{});
}

TEST_F(AdmissionCheck, LooksAtTheLinkOfTheDaemon) {
  device_.write("speed", "480\n");
  ctrl_->speed = "full";
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{display::highSpeed(display::unnamedDevice) + "\n"});
}

TEST_F(AdmissionCheck, RefusesAlsoWithoutADisplay) {
  ctrl_->policy = hidOnly;
  ctrl_->osd.isOpen = false;
  EXPECT_FALSE(check());
  ctrl_->osd.isOpen = true;
  EXPECT_EQ(ctrl_.shown(), Lines{});
}

TEST_F(AdmissionCheck, TakesUpTheChangedConfigurationOnceForEachRequest) {
  configure("hid_only = 1\nisochronous_user_warning = 0\n");
  EXPECT_TRUE(check());
  policyReloadRequested = 1;
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), refusal_);
  EXPECT_TRUE(ctrl_->policy.hidOnly);
  EXPECT_FALSE(ctrl_->policy.isochronousUserWarning);
  EXPECT_EQ(policyReloadRequested, 0);
  configure("");
  EXPECT_FALSE(check());
}

TEST_F(AdmissionCheck, TakesTheDefaultsWhereTheConfigurationHasGone) {
  ctrl_->policy = {.hidOnly = true, .isochronousEnabled = true};
  policyReloadRequested = 1;
  EXPECT_TRUE(check());
  EXPECT_FALSE(ctrl_->policy.hidOnly);
  EXPECT_FALSE(ctrl_->policy.isochronousEnabled);
}

TEST_F(AdmissionCheck, TakesUpTheConfigurationAlsoWhereItThenFails) {
  configure("hid_only = 1\n");
  policyReloadRequested = 1;
  EXPECT_THROW((void)checkAdmission(*ctrl_, SysfsDevice("/sys/devices/gone")), ulx::NoSuchFileOrDirectory);
  EXPECT_TRUE(ctrl_->policy.hidOnly);
  EXPECT_EQ(policyReloadRequested, 0);
}

}  // namespace
