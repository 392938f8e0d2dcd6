#pragma once

#include <boost/lexical_cast.hpp>

#include <concepts>
#include <string>
#include <string_view>

#include "ulx/format.h"

/**
 * The text of a message under construction. What is inserted reads as in an output stream of the standard
 * library; a stream itself would bring its locales into the program.
 */
class MessageText {
 public:
  MessageText& operator<<(std::string_view text) {
    text_ += text;
    return *this;
  }

  /** Decimal text; a char is itself. */
  template <std::integral Number>
  MessageText& operator<<(Number number) {
    return *this << boost::lexical_cast<std::string>(number);
  }

  /** Up to six significant digits. */
  template <std::floating_point Number>
  MessageText& operator<<(Number number) {
    return *this << ulx::formatString("%g", static_cast<double>(number));
  }

  [[nodiscard]] const std::string& str() const { return text_; }

 private:
  std::string text_;
};
