#include "tools/explain/descriptor_file.h"

#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>

#include "hotplug/usb_descriptors.h"
#include "tools/explain/error.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/items.h"

namespace explain {

namespace {

constexpr std::size_t mostBytes = 1'048'576;
constexpr int hexadecimalBase = 16;

// What is longer is something else, such as the image of a disk.
std::string readAtMost(const std::string& path) {
  const ulx::FileDescriptor file(path, O_RDONLY);
  std::string content;
  for (std::string part = file.readSome(); !part.empty(); part = file.readSome()) {
    content += part;
    if (content.size() > mostBytes) {
      throw Error(path + ": too long for descriptors");
    }
  }
  return content;
}

bool isTextByte(char byte) {
  return (byte >= ' ' && byte <= '~') || byte == '\n' || byte == '\r' || byte == '\t';
}

bool isHexadecimal(std::string_view word) {
  return !word.empty() && word.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

[[noreturn]] void refuse(std::string_view word) {
  throw Error("neither descriptors nor pairs of hexadecimal digits: \"" + std::string(word) + "\"");
}

std::string_view withoutPrefix(std::string_view word) {
  return word.starts_with("0x") || word.starts_with("0X") ? word.substr(2) : word;
}

void addBytes(std::string& bytes, std::string_view word) {
  const std::string_view digits = withoutPrefix(word);
  if (!isHexadecimal(digits) || digits.size() % 2 != 0) {
    refuse(word);
  }
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    unsigned byte = 0;
    std::from_chars(digits.data() + i, digits.data() + i + 2, byte, hexadecimalBase);
    bytes += static_cast<char>(byte);
  }
}

// Takes the first word off the line; empty where there is none. Blanks, colons and commas divide words.
std::string_view takeWord(std::string_view& line, std::string_view dividers) {
  line.remove_prefix(std::min(line.find_first_not_of(dividers), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(dividers));
  line.remove_prefix(word.size());
  return word;
}

constexpr std::string_view blanks = " \t\r\n";

// Whether a word is the place of the next byte, as at the start of a dump's lines: "00000010", "00000010:".
bool isOffset(std::string_view word, std::size_t offset) {
  constexpr std::size_t fewestDigits = 4;
  const std::string_view digits = word.substr(0, word.find(':'));
  const char* end = digits.data() + digits.size();
  std::size_t value = 0;
  const auto number = std::from_chars(digits.data(), end, value, hexadecimalBase);
  return digits.size() >= fewestDigits && number.ec == std::errc() && number.ptr == end && value == offset;
}

// A dump repeats the bytes as characters: between bars, or behind two blanks where its offsets have a colon.
std::string_view withoutCharacters(std::string_view offset, std::string_view line) {
  line = line.substr(0, line.find('|'));
  return offset.ends_with(':') ? line.substr(0, line.find("  ")) : line;
}

void addLine(std::string& bytes, std::string_view line) {
  constexpr std::string_view dividers = " \t\r:,";
  for (auto word = takeWord(line, dividers); !word.empty(); word = takeWord(line, dividers)) {
    addBytes(bytes, word);
  }
}

// A dump may leave out lines that repeat the one before.
void refuseGap(std::string_view offset) {
  if (offset == "*") {
    throw Error("lines are left out at \"*\": hexdump -v -C or xxd print all bytes");
  }
}

void addDumpedLine(std::string& bytes, std::string_view line) {
  const std::string_view offset = takeWord(line, blanks);
  refuseGap(offset);
  if (!offset.empty() && !isOffset(offset, bytes.size())) {
    refuse(offset);
  }
  addLine(bytes, withoutCharacters(offset, line));
}

bool beginsWithOffset(std::string_view text) {
  return isOffset(takeWord(text, blanks), 0);
}

// The first two bytes of a device descriptor, 12 01, as one number of a machine that puts the lower byte first.
void refuseWords(std::string_view text, bool hasOffsets) {
  if (hasOffsets) {
    takeWord(text, blanks);
  }
  if (takeWord(text, blanks) == "0112") {
    throw Error("these look like 16-bit words: hexdump -C or xxd print bytes");
  }
}

std::string bytesIn(const std::string& path) {
  std::string content = readAtMost(path);
  if (!std::ranges::all_of(content, isTextByte)) {
    return content;
  }
  try {
    return bytesOfDump(content);
  } catch (const Error& error) {
    throw Error(path + ": " + error.what());
  }
}

// Damage further in is explained; what begins otherwise has nothing to do with a device.
void requireDeviceDescriptor(const std::string& path, const std::string& bytes) {
  if (bytes.size() <= bDescriptorType || descriptorBytes(bytes)[bDescriptorType] != deviceDescriptorType) {
    throw Error(
        path + ": neither a folder of a device, nor descriptors: it does not begin with a device descriptor");
  }
}

}  // namespace

std::string bytesOfDump(const std::string& text) {
  std::string bytes;
  const bool hasOffsets = beginsWithOffset(text);
  refuseWords(text, hasOffsets);
  ulx::forEachItem(text, '\n', [&bytes, hasOffsets](std::string_view line) {
    hasOffsets ? addDumpedLine(bytes, line) : addLine(bytes, line);
  });
  return bytes;
}

std::string readDescriptorFile(const std::string& path) {
  std::string bytes = bytesIn(path);
  if (bytes.empty()) {
    throw Error(path + ": it is empty");
  }
  requireDeviceDescriptor(path, bytes);
  return bytes;
}

}  // namespace explain
