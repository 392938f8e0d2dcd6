#include "ctrl/message_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>

namespace {

template <class T>
void expectReadsAsInAStream(const T& value) {
  std::ostringstream stream;
  stream << value;
  MessageText text;
  text << value;
  EXPECT_EQ(text.str(), stream.str());
}

template <class Number>
void expectLimitsReadAsInAStream() {
  expectReadsAsInAStream(std::numeric_limits<Number>::min());
  expectReadsAsInAStream(std::numeric_limits<Number>::max());
}

TEST(MessageText, IsEmptyAtFirst) {
  EXPECT_EQ(MessageText().str(), "");
}

TEST(MessageText, GrowsByWhatIsInserted) {
  MessageText text;
  text << "worker " << 12 << std::string(" of") << std::string_view(" device ") << 3U << ':' << 2.5;
  EXPECT_EQ(text.str(), "worker 12 of device 3:2.5");
}

TEST(MessageText, TakesTextsAsAStreamDoes) {
  expectReadsAsInAStream("a literal");
  expectReadsAsInAStream("one that ends\0here");
  expectReadsAsInAStream(std::string("a string\0that does not", 22));
  expectReadsAsInAStream(std::string_view("a view"));
  expectReadsAsInAStream(std::string());
  expectReadsAsInAStream('c');
}

TEST(MessageText, TakesIntegersAsAStreamDoes) {
  for (const int value : {0, -1, 12}) {
    expectReadsAsInAStream(value);
  }
  expectReadsAsInAStream(true);
  expectLimitsReadAsInAStream<std::int16_t>();
  expectLimitsReadAsInAStream<std::uint16_t>();
  expectLimitsReadAsInAStream<int>();
  expectLimitsReadAsInAStream<unsigned>();
  expectLimitsReadAsInAStream<long>();
  expectLimitsReadAsInAStream<std::int64_t>();
  expectLimitsReadAsInAStream<std::uint64_t>();
}

TEST(MessageText, TakesFractionsAsAStreamDoes) {
  for (const double value : {0.0, -0.5, 2.5, 1.0 / 3, 123456.7, 1'234'567.8, 1e-7, 1e300}) {
    expectReadsAsInAStream(value);
  }
  expectReadsAsInAStream(2.5F);
  expectReadsAsInAStream(std::numeric_limits<double>::infinity());
}

}  // namespace
