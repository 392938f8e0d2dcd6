#include "system/explain/comparison.h"

#include <gtest/gtest.h>

#include "system/explain/daemon_answers.h"
#include "system/explain/explanation.h"
#include "system/explain/rules_check.h"

namespace support {

namespace {

void expectConsistentRules(const Circumstances& circumstances, const std::vector<Explanation>& explanations) {
  for (const Explanation& explanation : explanations) {
    for (const std::string& contradiction : contradictionsOfRules(explanation, circumstances)) {
      ADD_FAILURE() << circumstances.text() << ": " << contradiction;
    }
  }
}

}  // namespace

void expectSame(const std::string& where, const std::vector<Answer>& daemon,
                const std::vector<Answer>& explained) {
  for (const std::string& difference : differences(daemon, explained)) {
    ADD_FAILURE() << where << ": " << difference;
  }
}

void expectExplainedAsDecided(sim::Unit& unit, const sim::DeviceRecording& recording,
                              const std::string& device, const std::vector<Circumstances>& all) {
  AskedDaemon daemon(unit);
  for (const Circumstances& circumstances : all) {
    daemon.put(circumstances);
    const std::vector<Explanation> explanations = explain(circumstances, {device});
    expectSame(circumstances.text(), daemon.plug(recording), answersIn(explanations));
    expectConsistentRules(circumstances, explanations);
    daemon.clear(recording);
  }
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

}  // namespace support
