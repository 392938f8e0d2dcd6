#include "tools/explain/readable_text.h"

#include <gtest/gtest.h>

#include "support/named_case.h"

namespace {

struct Text : support::NamedCase {
  std::string text;
  std::string readable;
  std::string json;
};

class ReadableText : public testing::TestWithParam<Text> {};

// In JSON strings U+FFFD stands as itself.
INSTANTIATE_TEST_SUITE_P(
    With, ReadableText,
    testing::Values(
        Text{{"Letters"},
             "Gr\xC3\xBCn \xE2\x80\x9C\xF0\x9F\x98\x80",
             "Gr\xC3\xBCn \xE2\x80\x9C\xF0\x9F\x98\x80",
             "\"Gr\xC3\xBCn \xE2\x80\x9C\xF0\x9F\x98\x80\""},
        Text{{"Nothing"}, "", "", "\"\""}, Text{{"Quotes"}, "a\"b\\c", "a\"b\\c", R"("a\"b\\c")"},
        Text{{"Controls"}, "a\n\x1B[31m\x7F", "a\\x0a\\x1b[31m\\x7f", R"("a\u000a\u001b[31m\u007f")"},
        Text{{"HighControl"}, "\xC2\x9B", "\\x9b", R"("\u009b")"},
        Text{{"Directions"},
             "a\xE2\x80\xAE\xE2\x81\xA6\xE2\x80\x8F\xD8\x9C"
             "b",
             "a\\u202e\\u2066\\u200f\\u061cb",
             R"("a\u202e\u2066\u200f\u061cb")"},
        Text{{"SeparatorOfLines"}, "a\xE2\x80\xA8", "a\\u2028", R"("a\u2028")"},
        Text{{"NeighboursOfDirections"},
             "\xE2\x80\x8D\xE2\x80\x90\xE2\x80\xAF",
             "\xE2\x80\x8D\xE2\x80\x90\xE2\x80\xAF",
             "\"\xE2\x80\x8D\xE2\x80\x90\xE2\x80\xAF\""},
        Text{{"Nul"}, std::string("a\0b", 3), "a\\x00b", R"("a\u0000b")"},
        Text{{"LoneContinuation"},
             "a\x80"
             "b",
             "a\xEF\xBF\xBD"
             "b",
             "\"a\xEF\xBF\xBD"
             "b\""},
        Text{{"CutSequence"}, "\xE2\x80", "\xEF\xBF\xBD\xEF\xBF\xBD", "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},
        Text{{"Overlong"}, "\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD", "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},
        Text{{"Surrogate"},
             "\xED\xA0\x80",
             "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
             "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
        Text{{"TooHigh"},
             "\xF4\x90\x80\x80",
             "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
             "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
        Text{{"Replacement"},
             "\xEF\xBF\xBD"
             "a",
             "\xEF\xBF\xBD"
             "a",
             "\"\xEF\xBF\xBD"
             "a\""}));

TEST_P(ReadableText, IsShownAndNotObeyed) {
  EXPECT_EQ(explain::readable(GetParam().text), GetParam().readable);
  EXPECT_EQ(explain::jsonString(GetParam().text), GetParam().json);
}

}  // namespace
