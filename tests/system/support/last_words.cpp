#include "system/support/last_words.h"

#include <gtest/gtest.h>

#include <vector>

namespace support {

std::string lastWordsOf(sim::Daemon& daemon) {
  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  const std::vector<std::string> messages = daemon.messages();
  if (messages.size() < 2) {
    ADD_FAILURE() << "no error on standard error: " << daemon.standardError();
    return {};
  }
  EXPECT_EQ(messages.back(), "");
  return messages[messages.size() - 2];
}

}  // namespace support
