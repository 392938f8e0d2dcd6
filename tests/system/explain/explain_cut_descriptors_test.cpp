// Descriptors that are cut short, as a broken device or a careless copy has them.

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
  std::set<std::size_t> cuts = {0, 2, 17, 18, interface, endpoint, descriptors.size() - 1};
  cuts.insert({interface + 2, interface + 5, interface + 6, interface + 7, interface + 8});
  cuts.insert({endpoint + 3, endpoint + 4});
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
  const std::vector<Circumstances> circumstances = {
      {.classList = "none"},
      {.classList = "none", .linkSpeed = "full", .settings = support::outermostPolicies().at(1)},
      {.classList = "all"}};
  support::AskedDaemon daemon(unit);
  for (const Circumstances& each : circumstances) {
    daemon.put(each);
    for (const std::size_t cut : decisiveCuts(descriptors)) {
      const sim::DeviceRecording damaged =
          support::withDescriptors(recording, device, descriptors.substr(0, cut));
      const support::TemporaryDirectory parent;
      support::expectSame(each.text() + ", cut at " + std::to_string(cut), daemon.plug(damaged),
                          support::explainedAnswers(each, {support::writeFolder(damaged, parent.path())}));
      daemon.clear(damaged);
    }
  }
}

}  // namespace
