#include "system/explain/comparison.h"

#include <gtest/gtest.h>

#include "system/explain/daemon_answers.h"
#include "system/explain/explanation.h"

namespace support {

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
    expectSame(circumstances.text(), daemon.plug(recording), explainedAnswers(circumstances, {device}));
    daemon.clear(recording);
  }
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

}  // namespace support
