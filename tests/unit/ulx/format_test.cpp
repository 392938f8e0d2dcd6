#include "ulx/format.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "support/thrown.h"

namespace {

TEST(Format, FollowsPrintf) {
  EXPECT_EQ(ulx::formatString("%6.3f: %s", 7.25, "up"), " 7.250: up");
  EXPECT_EQ(ulx::formatString("%05d%%|%-3x|%c", 42, 0xabU, '\0'), std::string("00042%|ab |\0", 12));
  EXPECT_EQ(ulx::formatString("%s", ""), "");
}

TEST(Format, HasNoLimitOfItsLength) {
  const std::string text(100'000, 'x');
  EXPECT_EQ(ulx::formatString("<%s>", text.c_str()), "<" + text + ">");
}

TEST(Format, ThatCannotBeCarriedOutThrowsABareText) {
  constexpr auto noCharacter = static_cast<std::wint_t>(0x7fffffff);
  EXPECT_EQ(support::bareTextThrownBy([] { static_cast<void>(ulx::formatString("%lc", noCharacter)); }),
            "vasprintf failed");
}

}  // namespace
