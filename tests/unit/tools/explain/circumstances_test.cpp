#include "tools/explain/circumstances.h"

#include <gtest/gtest.h>

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/device_classes.h"
#include "ctrl/settings.h"
#include "sim/contract.h"
#include "sim/files.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/restored_settings.h"
#include "support/standard_output.h"
#include "tools/explain/error.h"

namespace {

using explain::Circumstances;
using explain::Request;
using explain::Setting;

class CircumstancesRead : public support::PrivateWorld {
 protected:
  support::RestoredSettings restored_;
  Request request_;

  CircumstancesRead() { request_.configuration = configurationPath; }

  static void configure(const std::string& content) { sim::writeFile(configurationPath, content); }

  [[nodiscard]] std::string faultOf() const {
    try {
      static_cast<void>(readCircumstances(request_));
    } catch (const explain::Error& error) {
      return error.what();
    }
    return "none";
  }
};

TEST_F(CircumstancesRead, AreTheDefaultsWithoutAConfiguration) {
  const Circumstances circumstances = readCircumstances(request_);
  EXPECT_EQ(circumstances.configurationState, explain::ConfigurationState::missing);
  EXPECT_TRUE(circumstances.policy.isochronousUserWarning);
  EXPECT_FALSE(circumstances.policy.smartcard);
  EXPECT_EQ(circumstances.classes, noClasses);
  EXPECT_FALSE(circumstances.isTransmitterKnown);
}

TEST_F(CircumstancesRead, PrintNothingOfAMissingConfiguration) {
  const support::CapturedStandardOutput output;
  static_cast<void>(readCircumstances(request_));
  EXPECT_EQ(output.text(), "");
}

TEST_F(CircumstancesRead, HaveThePolicyAndTheLogsOfTheConfiguration) {
  configure("[usb]\nsmartcard = yes\nisochronous_user_warning = 0\ndebug = ctrl,scsi\nlog_to_syslog = 0\n");
  const Circumstances circumstances = readCircumstances(request_);
  EXPECT_EQ(circumstances.configurationState, explain::ConfigurationState::loaded);
  EXPECT_TRUE(circumstances.policy.smartcard);
  EXPECT_FALSE(circumstances.policy.isochronousUserWarning);
  EXPECT_TRUE(settings.debugScsi);
  EXPECT_TRUE(settings.logToSyslog) << "whatever the value";
  EXPECT_FALSE(settings.debugCtrl) << "the daemon's own messages are no part of an explanation";
}

TEST_F(CircumstancesRead, ComeFromAnotherFile) {
  configure("[usb]\nsmartcard = yes\n");
  sim::writeFile("/sim/other.conf", "[usb]\nhid_only = yes\n");
  request_.configuration = "/sim/other.conf";
  const Circumstances circumstances = readCircumstances(request_);
  EXPECT_TRUE(circumstances.policy.hidOnly);
  EXPECT_FALSE(circumstances.policy.smartcard);
}

TEST_F(CircumstancesRead, AreTheDefaultsAndTheDaemonsErrorWhereTheConfigurationIsBroken) {
  configure("[usb\nsmartcard = yes\n");
  Circumstances circumstances;
  const support::Lines messages = support::logDuring([&] { circumstances = readCircumstances(request_); });
  EXPECT_FALSE(circumstances.policy.smartcard);
  EXPECT_EQ(circumstances.configurationState, explain::ConfigurationState::unloadable);
  EXPECT_EQ(messages.back(), contract::error::cannotLoadConfig(configurationPath));
}

TEST_F(CircumstancesRead, HaveWhatTheOptionsSay) {
  request_.classList = "scsi";
  request_.linkSpeed = "full";
  request_.interface = "eth7";
  request_.transmitter = {.hostname = "unit", .port = 7000};
  const Circumstances circumstances = readCircumstances(request_);
  EXPECT_EQ(circumstances.classes, storageClass);
  EXPECT_EQ(circumstances.linkSpeed, "full");
  EXPECT_EQ(circumstances.link.interface, "eth7");
  EXPECT_EQ(circumstances.link.hostname, "unit");
  EXPECT_EQ(circumstances.link.port, 7000);
  EXPECT_TRUE(circumstances.isTransmitterKnown);
}

TEST_F(CircumstancesRead, AreNoneWithAListThatTheDaemonRefuses) {
  configure("[usb]\ndebug = scsi,all\n");
  EXPECT_EQ(faultOf(),
            "the daemon does not start with this configuration: usb:debug = scsi,all: \"all\" is not one of "
            "its words");
}

TEST_F(CircumstancesRead, DependOnConfiguredClassesOnlyWithoutTheOption) {
  configure("[usb]\nclasses = disks\n");
  EXPECT_EQ(faultOf(),
            "the daemon does not start with this configuration: usb:classes = disks: \"disks\" is not one of "
            "its words");
  request_.classList = "all";
  requestConfigReload();
  EXPECT_EQ(faultOf(), "none");
}

TEST_F(CircumstancesRead, HaveTheTextOfASettingAndWhetherItIsAnAnswer) {
  configure("[usb]\nsmartcard = yes\nhid_only = maybe\n");
  static_cast<void>(readCircumstances(request_));
  const Setting set = explain::readSetting(configuration_key::smartcard);
  EXPECT_EQ(set.text, "yes");
  EXPECT_TRUE(set.isReadable);
  const Setting unreadable = explain::readSetting(configuration_key::hidOnly);
  EXPECT_EQ(unreadable.text, "maybe");
  EXPECT_FALSE(unreadable.isReadable);
  EXPECT_EQ(explain::readSetting(configuration_key::blockMassStorage).text, std::nullopt);
}

}  // namespace
