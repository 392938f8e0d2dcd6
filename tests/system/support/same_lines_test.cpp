#include "system/support/same_lines.h"

#include <gtest/gtest.h>

namespace {

using support::Lines;

testing::AssertionResult compared(const Lines& seen, const Lines& expected) {
  return support::sameLines("what is seen", "what is expected", seen, expected);
}

TEST(SameLines, AreTakenForSame) {
  EXPECT_TRUE(compared({}, {}));
  EXPECT_TRUE(compared({"a", "b"}, {"a", "b"}));
}

TEST(SameLines, OfOneLengthPrintOnlyThoseThatDiffer) {
  const auto result = compared({"a", "b", "c", "d"}, {"a", "x", "c", "y"});
  EXPECT_FALSE(result);
  EXPECT_STREQ(result.message(),
               "what is seen should be what is expected. What differs:\n"
               "  expected \"x\"\n  seen     \"b\"\n"
               "  expected \"y\"\n  seen     \"d\"");
}

TEST(SameLines, OfWhichSomeAreMissingPrintOnlyWhatIsBetweenEqualEnds) {
  const auto result = compared({"a", "b", "b"}, {"a", "b", "x", "b", "b"});
  EXPECT_FALSE(result);
  EXPECT_STREQ(result.message(),
               "what is seen should be what is expected. What differs:\n"
               "  expected \"b\"\n  expected \"x\"");
}

TEST(SameLines, OfWhichSomeAreTooManyPrintThem) {
  const auto result = compared({"a", "b\n", "c"}, {"a", "c"});
  EXPECT_FALSE(result);
  EXPECT_STREQ(result.message(),
               "what is seen should be what is expected. What differs:\n"
               "  seen     \"b\\n\"");
}

}  // namespace
