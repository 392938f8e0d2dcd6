// Descriptors that are cut short, as a broken device or a careless copy has them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "support/temporary_directory.h"
#include "system/explain/comparison.h"
#include "system/explain/daemon_answers.h"
#include "system/explain/explanation.h"
#include "system/explain/recorded_devices.h"

namespace {

using support::Circumstances;

/** Where the first descriptor of this type begins; at the end where there is none. */
std::size_t firstOf(unsigned char type, const std::string& descriptors) {
  std::size_t at = 0;
  while (at + 1 < descriptors.size() && descriptors[at] != 0 &&
         static_cast<unsigned char>(descriptors[at + 1]) != type) {
    at += static_cast<unsigned char>(descriptors[at]);
  }
  return std::min(at, descriptors.size());
}

/** Where a cut may change what is decided: around the first descriptors of each type and their fields. */
std::set<std::size_t> decisiveCuts(const std::string& descriptors) {
  constexpr unsigned char interfaceType = 4;
  constexpr unsigned char endpointType = 5;
  const std::size_t interface = firstOf(interfaceType, descriptors);
  const std::size_t endpoint = firstOf(endpointType, descriptors);
  std::set<std::size_t> cuts = {0, 17, 18, endpoint + 3, endpoint + 4};
  cuts.insert({interface + 5, interface + 6, interface + 7, interface + 8});
  std::erase_if(cuts, [&](std::size_t cut) { return cut >= descriptors.size(); });
  return cuts;
}

class ExplainCutDescriptors : public testing::TestWithParam<std::string> {
 protected:
  const sim::DeviceRecording recording = sim::loadRecording(GetParam());
  const std::string device = support::devicesIn(recording).back();
  const std::string descriptors = support::descriptorsOf(recording, device);
  sim::Unit unit;
};

INSTANTIATE_TEST_SUITE_P(Devices, ExplainCutDescriptors, testing::ValuesIn(sim::recordingNames()),
                         support::testNameOf);

TEST_P(ExplainCutDescriptors, AreExplainedAsTheDaemonDecides) {
  support::AskedDaemon daemon(unit);
  for (const Circumstances& each : {support::strictest("none"), support::mildest("all")}) {
    daemon.put(each);
    for (const std::size_t cut : decisiveCuts(descriptors)) {
      const sim::DeviceRecording damaged =
          support::withDescriptors(recording, device, std::string(descriptors, 0, cut));
      const support::TemporaryDirectory parent;
      support::expectSame(each.text() + ", cut at " + std::to_string(cut), daemon.plug(damaged),
                          support::explainedAnswers(each, {support::writeFolder(damaged, parent.path())}));
      daemon.clear(damaged);
    }
  }
}

/** Where whole descriptors end. */
std::size_t endOf(const std::string& descriptors) {
  std::size_t at = 0;
  while (at < descriptors.size()) {
    const std::size_t next = at + static_cast<unsigned char>(descriptors[at]);
    if (next > descriptors.size() || next == at) {
      return at;
    }
    at = next;
  }
  return at;
}

/** Puts a device into the unit for each length that these descriptors can have, and returns their names. */
std::vector<std::string> addCutAtEveryByte(sim::Unit& unit, const std::string& bus,
                                           const std::string& descriptors) {
  std::vector<std::string> names;
  for (std::size_t cut = 0; cut <= descriptors.size(); ++cut) {
    names.push_back(bus + "-" + std::to_string(cut + 1));
    unit.sysfs.add(sim::UsbDevice{.name = names.back(), .descriptors = std::string(descriptors, 0, cut)});
  }
  return names;
}

void expectEnds(const std::vector<support::Explanation>& explanations, const std::string& descriptors) {
  ASSERT_EQ(explanations.size(), descriptors.size() + 1);
  for (std::size_t cut = 0; cut <= descriptors.size(); ++cut) {
    const support::DescriptorsAnswer& found = explanations[cut].descriptors;
    const std::size_t end = endOf(std::string(descriptors, 0, cut));
    EXPECT_EQ(found.bytes, cut);
    EXPECT_EQ(found.end, end) << "cut at " << cut;
    EXPECT_EQ(found.damage.has_value(), end != cut) << "cut at " << cut;
  }
}

TEST(ExplainCutDescriptorsOfAllDevices, AreExplainedUpToTheirEndWhereverTheyAreCut) {
  sim::Unit unit;
  sim::Unit::writeConfig("");
  int bus = 0;
  for (const std::string& name : sim::recordingNames()) {
    SCOPED_TRACE(name);
    const sim::DeviceRecording recording = sim::loadRecording(name);
    const std::string descriptors = support::descriptorsOf(recording, support::devicesIn(recording).back());
    const auto names = addCutAtEveryByte(unit, std::to_string(++bus), descriptors);
    expectEnds(support::explain({.classList = "all"}, names), descriptors);
  }
}

TEST(ExplainCutDescriptorsOfAllDevices, AreExplainedToPeopleWithTheOffsetOfTheirEnd) {
  sim::Unit unit;
  const std::string descriptors = sim::keyboardDescriptors();
  const std::string cut = std::string(descriptors, 0, descriptors.size() - 1);
  const std::string directory = unit.sysfs.add(sim::UsbDevice{.descriptors = cut});
  EXPECT_THAT(support::runExplain({directory}).output,
              testing::HasSubstr("end at byte " + std::to_string(endOf(cut))));
}

}  // namespace
