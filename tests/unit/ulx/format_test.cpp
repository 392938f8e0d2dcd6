#include "ulx/format.h"

#include <gtest/gtest.h>

#include <cwchar>

namespace {

TEST(FormatString, FormatsAsPrintfDoes) {
  EXPECT_EQ(ulx::formatString("%6.3f: %s", 7.25, "up"), " 7.250: up");
  EXPECT_EQ(ulx::formatString("%05d%%|%-3x|%c", 42, 0xabU, 'q'), "00042%|ab |q");
}

TEST(FormatString, GivesAnEmptyTextForAnEmptyFormat) {
  EXPECT_EQ(ulx::formatString("%s", ""), "");
}

TEST(FormatString, GivesTextsOfAnyLength) {
  const std::string text(100'000, 'x');
  EXPECT_EQ(ulx::formatString("<%s>", text.c_str()), "<" + text + ">");
}

TEST(FormatString, ThrowsABareTextWhenTheFormatCannotBeCarriedOut) {
  constexpr auto noCharacter = static_cast<std::wint_t>(0x7fffffff);
  try {
    const std::string formatted = ulx::formatString("%lc", noCharacter);
    FAIL() << "gave " << formatted;
  } catch (const char* text) {
    EXPECT_STREQ(text, "vasprintf failed");
  }
}

}  // namespace
