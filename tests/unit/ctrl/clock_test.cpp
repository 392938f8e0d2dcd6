#include "ctrl/clock.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

double systemSeconds() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

TEST(Clock, TellsSecondsSinceTheEpochToTheMicrosecond) {
  constexpr double microsecond = 2e-6;  // and the rounding of such large numbers
  const double before = systemSeconds();
  const double now = timestampNow();
  const double after = systemSeconds();
  EXPECT_GE(now, before - microsecond);
  EXPECT_LE(now, after + microsecond);
}

}  // namespace
