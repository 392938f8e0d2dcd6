// The commented configuration: complete, and without effect.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "sim/files.h"
#include "sim/unit.h"
#include "workers/admission_policy.h"

namespace {

constexpr const char* example = EXAMPLES_FOLDER "/quor.conf";

/** The keys that stand in the example as settings, or as comments of the form ";key = value". */
std::vector<std::string> keysOfTheExample() {
  std::ifstream file(example);
  std::vector<std::string> keys;
  std::string section;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('[')) {
      section = line.substr(1, line.find(']') - 1);
    } else if (const std::size_t equals = line.find(" = ");
               equals != std::string::npos && !line.starts_with('#')) {
      const std::size_t begin = line.starts_with(';') ? 1 : 0;
      keys.push_back(section + ":" + line.substr(begin, equals - begin));
    }
  }
  std::sort(keys.begin(), keys.end());
  return keys;
}

class QuorConf : public testing::Test {
 protected:
  static void useExample() {
    sim::Unit::writeConfig(sim::readFile(example));
    requestConfigReload();
  }
  static AdmissionPolicy policyWithoutConfiguration() {
    sim::Unit::removeConfig();
    requestConfigReload();
    return readAdmissionPolicy();
  }
  /** How the worker is started that waits for the Transmitter, after five quick failures. */
  std::vector<std::string> waitingWorker();
  /** What is written to standard error by a daemon with a wrong port. */
  std::vector<std::string> complaintOfADaemon();

  sim::Unit unit;
};

TEST_F(QuorConf, IsAcceptedWhole) {
  const std::string output = "/sim/check";
  sim::writeFile(output, "");
  EXPECT_EQ(sim::runProcess({QUOR_CONFIG_PROGRAM, "--file", example, "check"}, {}, output, output),
            sim::ProcessEnd::exited(0));
  EXPECT_EQ(sim::readFile(output), "");
}

TEST_F(QuorConf, HasEveryKeyOfTheDaemon) {
  std::vector<std::string> keys;
  std::transform(configurationKeys.begin(), configurationKeys.end(), std::back_inserter(keys),
                 [](const ConfigurationKey& key) { return key.name; });
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(keysOfTheExample(), keys);
}

TEST_F(QuorConf, AdmitsWhatIsAdmittedWithoutIt) {
  const AdmissionPolicy usual = policyWithoutConfiguration();
  useExample();
  const AdmissionPolicy policy = readAdmissionPolicy();
  EXPECT_EQ(policy.hidOnly, usual.hidOnly);
  EXPECT_EQ(policy.blockMassStorage, usual.blockMassStorage);
  EXPECT_EQ(policy.smartcard, usual.smartcard);
  EXPECT_EQ(policy.isochronousEnabled, usual.isochronousEnabled);
  EXPECT_EQ(policy.isochronousUserWarning, usual.isochronousUserWarning);
}

std::vector<std::string> QuorConf::waitingWorker() {
  sim::Daemon& daemon = unit.startDaemon({"transmitter", "5000", "high"});
  unit.waitUntilServing();
  const std::string device = unit.plug(sim::UsbDevice{.descriptors = sim::mouseDescriptors(), .speed = "12"});
  for (int failure = 1; failure <= 5; ++failure) {
    unit.workers.waitForWorker().exitWith(1);
  }
  std::vector<std::string> arguments = unit.workers.waitForWorker().start.arguments;
  EXPECT_EQ(daemon.standardError(), "");
  daemon.signal(SIGTERM);
  daemon.waitForExit();
  unit.unplug(device);
  return arguments;
}

std::vector<std::string> QuorConf::complaintOfADaemon() {
  sim::Daemon& daemon = unit.startDaemon({"transmitter", "none", "high"});
  daemon.waitForExit();
  return daemon.messages();
}

TEST_F(QuorConf, StartsTheWorkersThatAreStartedWithoutIt) {
  const std::vector<std::string> usual = waitingWorker();
  EXPECT_EQ(usual.at(1), "--timeout");
  useExample();
  EXPECT_EQ(waitingWorker(), usual);
}

TEST_F(QuorConf, LeavesTheLogWhereItIsWithoutIt) {
  const std::vector<std::string> usual = complaintOfADaemon();
  EXPECT_EQ(usual.size(), 2U);
  useExample();
  EXPECT_EQ(complaintOfADaemon(), usual);
}

}  // namespace
