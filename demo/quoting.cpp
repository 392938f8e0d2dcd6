#include "demo/quoting.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace demo {

namespace {

bool isControl(char c) {
  return std::iscntrl(static_cast<unsigned char>(c)) != 0;
}

std::string asHexadecimal(char c) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(c);
  return {'\\', 'x', digits[value / digits.size()], digits[value % digits.size()]};
}

bool isPlain(char c) {
  constexpr std::string_view marks = "_@%+=:,./-";
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || marks.find(c) != std::string_view::npos;
}

}  // namespace

std::string printable(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    shown += isControl(c) ? asHexadecimal(c) : std::string(1, c);
  }
  return shown;
}

std::string quoted(const std::string& argument) {
  if (!argument.empty() && std::all_of(argument.begin(), argument.end(), isPlain)) {
    return argument;
  }
  std::string inside;
  for (const char c : argument) {
    inside += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return "'" + inside + "'";
}

}  // namespace demo
