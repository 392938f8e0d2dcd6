#include "system/support/same_lines.h"

#include <algorithm>
#include <string>

namespace support {

namespace {

/** Of lists that differ in their lengths, what is between their equal beginnings and ends. */
void leaveOutEqualEnds(Lines& seen, Lines& expected) {
  const auto [seenEnd, expectedEnd] =
      std::mismatch(seen.rbegin(), seen.rend(), expected.rbegin(), expected.rend());
  seen.erase(seenEnd.base(), seen.end());
  expected.erase(expectedEnd.base(), expected.end());
  const auto [seenBegin, expectedBegin] =
      std::mismatch(seen.begin(), seen.end(), expected.begin(), expected.end());
  seen.erase(seen.begin(), seenBegin);
  expected.erase(expected.begin(), expectedBegin);
}

std::string printed(const std::string& title, const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += "\n  " + title + testing::PrintToString(line);
  }
  return text;
}

std::string differences(Lines seen, Lines expected) {
  if (seen.size() != expected.size()) {
    leaveOutEqualEnds(seen, expected);
    return printed("expected ", expected) + printed("seen     ", seen);
  }
  std::string text;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (seen[i] != expected[i]) {
      text += printed("expected ", {expected[i]}) + printed("seen     ", {seen[i]});
    }
  }
  return text;
}

}  // namespace

testing::AssertionResult sameLines(const char* seenText, const char* expectedText, const Lines& seen,
                                   const Lines& expected) {
  if (seen == expected) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << seenText << " should be " << expectedText
                                     << ". What differs:" << differences(seen, expected);
}

}  // namespace support
