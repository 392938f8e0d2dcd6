#include "workers/admission_policy.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ctrl/configuration_keys.h"
#include "sim/files.h"
#include "support/named_case.h"
#include "support/private_world.h"

namespace {

// In the order of the policy's members.
using Switches = std::vector<bool>;

constexpr bool standardWarning = true;

struct PolicyCase : support::NamedCase {
  const char* configuration;
  Switches switches;
};

class AdmissionPolicyOf : public support::PrivateWorld, public testing::WithParamInterface<PolicyCase> {};

INSTANTIATE_TEST_SUITE_P(
    Key, AdmissionPolicyOf,
    testing::Values(
        PolicyCase{{"OfAnotherSwitch"}, "[usb]\ndebug = ctrl\n", {0, 0, 0, 0, standardWarning}},
        PolicyCase{
            {"OfAnotherSection"}, "[apps]\nhid_only = 1\nsmartcard = 1\n", {0, 0, 0, 0, standardWarning}},
        PolicyCase{{"NeitherOnNorOff"},
                   "[usb]\nhid_only = perhaps\nblock_mass_storage = perhaps\nsmartcard = perhaps\n"
                   "isochronous_enabled = perhaps\nisochronous_user_warning = perhaps\n",
                   {0, 0, 0, 0, standardWarning}},
        PolicyCase{{"HidOnly"}, "[usb]\nhid_only = 1\n", {1, 0, 0, 0, standardWarning}},
        PolicyCase{{"BlockMassStorage"}, "[usb]\nblock_mass_storage = 1\n", {0, 1, 0, 0, standardWarning}},
        PolicyCase{{"Smartcard"}, "[usb]\nsmartcard = 1\n", {0, 0, 1, 0, standardWarning}},
        PolicyCase{{"IsochronousEnabled"}, "[usb]\nisochronous_enabled = 1\n", {0, 0, 0, 1, standardWarning}},
        PolicyCase{{"IsochronousUserWarning"}, "[usb]\nisochronous_user_warning = 0\n", {0, 0, 0, 0, 0}}));

Switches readSwitches() {
  const AdmissionPolicy policy = readAdmissionPolicy();
  return {policy.hidOnly, policy.blockMassStorage, policy.smartcard, policy.isochronousEnabled,
          policy.isochronousUserWarning};
}

TEST_P(AdmissionPolicyOf, SetsItsSwitchAlone) {
  sim::writeFile(configurationPath, GetParam().configuration);
  EXPECT_EQ(readSwitches(), GetParam().switches);
}

using AdmissionPolicyWorld = support::PrivateWorld;

TEST_F(AdmissionPolicyWorld, WithoutAConfigurationHasTheDefaults) {
  EXPECT_EQ(readSwitches(), (Switches{0, 0, 0, 0, standardWarning}));
}

}  // namespace
