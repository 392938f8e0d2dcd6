#include "workers/admission_policy.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "sim/files.h"
#include "support/child.h"

namespace {

// In the order of the keys below.
using Switches = std::array<bool, 5>;

constexpr std::array<const char*, 5> keys{"hid_only", "block_mass_storage", "smartcard",
                                          "isochronous_enabled", "isochronous_user_warning"};
constexpr Switches defaults{false, false, false, false, true};

Switches policyOf(const std::string& configuration) {
  sim::writeFile("/vel/quor.conf", configuration);
  const AdmissionPolicy policy = readAdmissionPolicy();
  return {policy.hidOnly, policy.blockMassStorage, policy.smartcard, policy.isochronousEnabled,
          policy.isochronousUserWarning};
}

TEST(AdmissionPolicy, IsTheDefaultWithoutAConfiguration) {
  support::inPrivateWorld([] {
    const AdmissionPolicy policy = readAdmissionPolicy();
    EXPECT_FALSE(policy.hidOnly);
    EXPECT_FALSE(policy.blockMassStorage);
    EXPECT_FALSE(policy.smartcard);
    EXPECT_FALSE(policy.isochronousEnabled);
    EXPECT_TRUE(policy.isochronousUserWarning);
  });
}

TEST(AdmissionPolicy, IsTheDefaultWhereTheConfigurationDoesNotTell) {
  support::inPrivateWorld([] { EXPECT_EQ(policyOf("[usb]\ndebug = ctrl\n"), defaults); });
}

TEST(AdmissionPolicy, IsTheDefaultWhereTheConfigurationIsNeitherOnNorOff) {
  support::inPrivateWorld([] {
    std::string configuration = "[usb]\n";
    for (const char* key : keys) {
      configuration += std::string(key) + " = perhaps\n";
    }
    EXPECT_EQ(policyOf(configuration), defaults);
  });
}

TEST(AdmissionPolicy, HasAKeyForEachSwitch) {
  for (std::size_t i = 0; i < keys.size(); ++i) {
    support::inPrivateWorld([i] {
      Switches expected = defaults;
      expected[i] = !defaults[i];
      const std::string line = std::string(keys[i]) + " = " + (expected[i] ? "1" : "0") + "\n";
      EXPECT_EQ(policyOf("[usb]\n" + line), expected) << keys[i];
    });
  }
}

TEST(AdmissionPolicy, KeysOfOtherSectionsAreNotItsOwn) {
  support::inPrivateWorld([] { EXPECT_EQ(policyOf("[apps]\nhid_only = 1\nsmartcard = 1\n"), defaults); });
}

}  // namespace
