#include "tools/explain/readable_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ulx/format.h"

namespace explain {

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr char32_t firstPrintable = 0x20;
constexpr char32_t firstHighControl = 0x7F;  // U+007F to U+009F
constexpr char32_t lastHighControl = 0x9F;

struct Character {
  char32_t code;
  std::size_t length;  // in bytes
};

// A sequence of UTF-8 (RFC 3629, 3): what its first byte says.
struct Lead {
  std::size_t length;
  char32_t bits;
  char32_t smallest;  // a smaller code would have a shorter sequence
};

Lead leadOf(std::uint8_t byte) {
  if (byte < 0x80) {
    return {.length = 1, .bits = byte, .smallest = 0};
  }
  if (byte >= 0xC0 && byte < 0xE0) {
    return {.length = 2, .bits = byte & 0x1FU, .smallest = 0x80};
  }
  if (byte >= 0xE0 && byte < 0xF0) {
    return {.length = 3, .bits = byte & 0x0FU, .smallest = 0x800};
  }
  if (byte >= 0xF0 && byte < 0xF8) {
    return {.length = 4, .bits = byte & 0x07U, .smallest = 0x10000};
  }
  return {.length = 0, .bits = 0, .smallest = 0};
}

bool isScalar(char32_t code) {
  constexpr char32_t last = 0x10FFFF;
  constexpr char32_t firstSurrogate = 0xD800;
  constexpr char32_t lastSurrogate = 0xDFFF;
  return code <= last && (code < firstSurrogate || code > lastSurrogate);
}

// The character that `text` begins with; the replacement for a byte that begins none.
Character firstOf(std::string_view text) {
  constexpr Character invalid{.code = replacement, .length = 1};
  const Lead lead = leadOf(static_cast<std::uint8_t>(text.front()));
  if (lead.length == 0 || lead.length > text.size()) {
    return invalid;
  }
  char32_t code = lead.bits;
  for (const char next : text.substr(1, lead.length - 1)) {
    const auto byte = static_cast<std::uint8_t>(next);
    if ((byte & 0xC0U) != 0x80) {
      return invalid;
    }
    code = (code << 6U) | (byte & 0x3FU);
  }
  return code >= lead.smallest && isScalar(code) ? Character{.code = code, .length = lead.length} : invalid;
}

bool isControl(char32_t code) {
  return code < firstPrintable || (code >= firstHighControl && code <= lastHighControl);
}

struct Range {
  char32_t first;
  char32_t last;
};

// What turns the direction of writing or ends a line: with these a text can look like another one.
bool isDirection(char32_t code) {
  constexpr std::array<Range, 4> directions{
      {{0x061C, 0x061C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}}};
  return std::ranges::any_of(
      directions, [code](const Range& range) { return code >= range.first && code <= range.last; });
}

bool isEscaped(char32_t code) {
  return isControl(code) || isDirection(code);
}

// `escape` gets each character and its bytes, and returns what stands for it.
template <class Escape>
std::string convert(std::string_view text, Escape escape) {
  std::string converted;
  while (!text.empty()) {
    const Character character = firstOf(text);
    const bool isReplaced = character.code == replacement;
    const std::string_view bytes = isReplaced ? "\xEF\xBF\xBD" : text.substr(0, character.length);
    converted += escape(character.code, std::string(bytes));
    text.remove_prefix(character.length);
  }
  return converted;
}

}  // namespace

std::string readable(const std::string& text) {
  return convert(text, [](char32_t code, const std::string& bytes) {
    if (!isEscaped(code)) {
      return bytes;
    }
    return ulx::formatString(isControl(code) ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(code));
  });
}

std::string jsonString(const std::string& text) {
  return '"' +
         convert(text,
                 [](char32_t code, const std::string& bytes) {
                   if (code == U'"' || code == U'\\') {
                     return "\\" + bytes;
                   }
                   return isEscaped(code) ? ulx::formatString("\\u%04x", static_cast<unsigned>(code)) : bytes;
                 }) +
         '"';
}

}  // namespace explain
